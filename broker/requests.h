#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "broker/ask.h"
#include "broker/broker.h"

namespace orv::broker {

/// Runs work on a thread of its own, with the memory of a request; waits for it. An exception that
/// leaves the work, and a thread that cannot be made, are the returned text.
std::optional<std::string> onRequestThread(const std::shared_ptr<BrokerState>& broker,
                                           const std::function<void()>& work);

/// A client's request in the form for C; borrows from the request. In a request's thread.
struct ClientQuestion : Question {
  explicit ClientQuestion(const Request& request);

 private:
  std::optional<TextArray> properties_;
};

/// Asks for a client. `question` is made from `request`.
Answers askForClient(BrokerState& broker, const Request& request, const ClientQuestion& question);

/// All that was answered; nothing but the status after a failure.
Response toResponse(const Answers& answers);

/// The same with what a client gets from a class without a provider, and of getInstance: the first
/// instance, or "not found".
Response clientResponse(Operation operation, const Answers& answers);

/// A client's request from routing to answer.
Response runRequest(const std::shared_ptr<BrokerState>& broker, const Request& request);

}  // namespace orv::broker
