#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "broker/broker.h"

namespace orv::client {

/// Receives the indications that servers send to an address of this host: CIM-XML export messages
/// over HTTP. Each handler has a path of its own that cannot be guessed; messages for any other
/// path are refused.
class IndicationListener {
 public:
  struct Limits {
    std::size_t messageBytes = 1024U * 1024;  ///< of one message
    unsigned connections = 64;                ///< at a time
    unsigned idleSeconds = 30;                ///< after which a silent connection is closed
  };

  /// Listens at an IPv4 or IPv6 address; port 0 takes a free one.
  ///
  /// Fails: ConnectionError.
  IndicationListener(const std::string& address, int port)
      : IndicationListener(address, port, Limits()) {}
  IndicationListener(const std::string& address, int port, Limits limits);
  /// No handler runs afterwards.
  ~IndicationListener();
  IndicationListener(const IndicationListener&) = delete;
  IndicationListener& operator=(const IndicationListener&) = delete;

  /// Returns the URL at which the handler receives indications. The handler runs in the listener's
  /// thread, before the sender gets its answer; when it throws, the sender gets HTTP status 500.
  /// The indication's path has only a class name.
  ///
  /// Fails: ConnectionError when there are no random numbers.
  std::string add(broker::IndicationHandler handler);
  /// After this, the handler of that URL does not run. A handler must not call it: it would wait
  /// for itself.
  void remove(const std::string& url);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::client
