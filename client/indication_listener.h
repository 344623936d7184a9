#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "broker/broker.h"

namespace orv::client {

/// Takes the indications that servers send: CIM-XML export messages over HTTP, at an address of
/// this host. Each handler has a path of its own that cannot be guessed; what comes to another path
/// is refused.
class IndicationListener {
 public:
  struct Limits {
    std::size_t messageBytes = 1024U * 1024;
    unsigned connections = 64;
    unsigned idleSeconds = 30;
  };

  /// Listens at the address, an IPv4 or IPv6 one; port 0 takes a free one.
  ///
  /// Fails: ConnectionError.
  IndicationListener(const std::string& address, int port)
      : IndicationListener(address, port, Limits()) {}
  IndicationListener(const std::string& address, int port, Limits limits);
  /// No handler runs afterwards.
  ~IndicationListener();
  IndicationListener(const IndicationListener&) = delete;
  IndicationListener& operator=(const IndicationListener&) = delete;

  /// The URL to which the indications for this handler are sent. The handler runs in the listener's
  /// thread, before the sender is told that the indication was taken; an exception that leaves it
  /// is told to the sender as a failure. The path of the indication has the class name only.
  std::string add(broker::IndicationHandler handler);
  /// The handler of that URL does not run afterwards. Not to be called by a handler.
  void remove(const std::string& url);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::client
