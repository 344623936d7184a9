#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "broker/ask.h"
#include "broker/broker.h"

namespace orv::broker {

/// A request about an object or, with a path without keys, about a class.
Request requestOf(Operation operation, const ObjectPath& path, const AssociationFilter& filter = {},
                  const PropertyList& properties = std::nullopt);

/// Runs work on a thread of its own, with the memory of a request, and waits for it. Returns the
/// text of an exception from the work, or the reason why the thread could not be started; absent
/// otherwise.
std::optional<std::string> onRequestThread(const std::shared_ptr<BrokerState>& broker,
                                           const std::function<void()>& work);

/// A client's request in the form for providers. Refers to `request`. Made in a request's thread.
struct ClientQuestion : Question {
  explicit ClientQuestion(const Request& request);

 private:
  std::optional<TextArray> properties_;
};

/// Calls the providers for a client. `question` is made from `request`.
Answers askForClient(BrokerState& broker, const Request& request, const ClientQuestion& question);

/// Everything that was returned; after a failure only the status.
Response toResponse(const Answers& answers);

/// The same with the broker's own statuses for a class without a provider. Of getInstance, the
/// first instance or "not found".
Response clientResponse(Operation operation, const Answers& answers);

/// Runs a client's request on a thread of its own.
Response runRequest(const std::shared_ptr<BrokerState>& broker, const Request& request);

}  // namespace orv::broker
