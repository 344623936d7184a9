#pragma once

#include <memory>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "broker/registration.h"

namespace orv::tool {

/// What a session asks, and with what.
struct SessionOptions {
  /// Empty: the one beside the executable. Of several, each serves the registrations whose location
  /// its name says: lib<location>.so.
  std::vector<std::string> libraries;
  std::vector<std::string>
      schemas;               ///< directories, in order; empty: the one beside the executable
  std::string simulate;      ///< host file; empty: this host
  bool withInterop = false;  ///< with the interop namespace, for subscriptions of clients
};

/// An embedded broker with the library, the classes and the registration that the options name.
/// The end of the session is the end of the broker's process for its providers: they are cleaned up
/// with the terminating flag and their threads joined.
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
  /// The broker's.
  const Namespaces& namespaces() const { return namespaces_; }

 private:
  std::shared_ptr<const broker::ClassRepository> classes_;
  std::vector<broker::RegistrationSection> registration_;
  Namespaces namespaces_;
  std::unique_ptr<broker::Broker> broker_;
};

}  // namespace orv::tool
