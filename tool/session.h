#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "broker/registration.h"

namespace orv::tool {

/// What a session is made of.
struct SessionOptions {
  /// Provider libraries; empty: those found by tool/locations.h. A library named lib<location>.so
  /// serves the registrations of that location, the first one all others.
  std::vector<std::string> libraries;
  std::vector<std::string>
      schemas;               ///< directories, in order; empty: that found by tool/locations.h
  std::string simulate;      ///< host file; empty: this host
  bool withInterop = false;  ///< adds the interop namespace, for subscriptions of clients
  /// Takes each report of the broker as one line, in any thread. Empty: reports are warnings of
  /// orvcim on standard error.
  std::function<void(const std::string&)> warn;
};

/// An embedded broker with the libraries, the classes and the registration that the options name.
/// For providers the end of the session is the end of the broker's process: they are cleaned up
/// with the terminating flag, and join their threads.
class Session {
 public:
  /// Fails: BadInput.
  explicit Session(const SessionOptions& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  broker::Broker& broker() { return *broker_; }
  const broker::ClassRepository& classes() const { return *classes_; }
  const std::vector<broker::RegistrationSection>& registration() const { return registration_; }

  using Namespaces = decltype(broker::Broker::Options::namespaces);
  /// The broker's namespaces with their classes.
  const Namespaces& namespaces() const { return namespaces_; }

 private:
  std::shared_ptr<const broker::ClassRepository> classes_;
  std::vector<broker::RegistrationSection> registration_;
  Namespaces namespaces_;
  std::unique_ptr<broker::Broker> broker_;
};

}  // namespace orv::tool
