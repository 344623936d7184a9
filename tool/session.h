#pragma once

#include <memory>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "broker/registration.h"
#include "tool/options.h"

namespace orv::tool {

/// An embedded broker with the library, the classes and the registration that the options name.
/// The end of the session is the end of the broker's process for its providers: they are cleaned up
/// with the terminating flag and their threads joined.
class Session {
 public:
  /// Fails: BadInput.
  explicit Session(const Options& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  broker::Broker& broker() { return *broker_; }
  const broker::ClassRepository& classes() const { return *classes_; }
  const std::vector<broker::RegistrationSection>& registration() const { return registration_; }

  using Namespaces = decltype(broker::Broker::Options::namespaces);
  /// The broker's, for `serve` the interop namespace among them.
  const Namespaces& namespaces() const { return namespaces_; }

 private:
  std::shared_ptr<const broker::ClassRepository> classes_;
  std::vector<broker::RegistrationSection> registration_;
  Namespaces namespaces_;
  std::unique_ptr<broker::Broker> broker_;
};

}  // namespace orv::tool
