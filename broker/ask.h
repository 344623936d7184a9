#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/data.h"
#include "broker/provider_call.h"
#include "broker/results.h"
#include "broker/router.h"

/// Calls providers, on behalf of clients and of up-calls.
namespace orv::broker {

/// A request as every provider gets it, except for the class name in its path. Does not own what
/// the arguments point to.
struct Question {
  Operation operation = Operation::kEnumerateInstances;
  PathData path;
  CallArguments arguments;
  const CMPIContext* context = nullptr;  ///< of an up-call; null for a client's request
  CMPIFlags flags = 0;                   ///< of a client; written to the context of each provider
};

/// One provider's answer to its part of a request.
struct Answer {
  std::string provider;
  std::string className;  ///< for which it was called
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  ResultSink returned;
};

/// The answers of all providers that were called, in order. The status is the first failure.
struct Answers {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::vector<Answer> answers;  ///< empty: no provider serves the class, or the route failed
};

/// Routes a question and calls the providers, in the calling thread, which must work for the
/// broker.
Answers ask(BrokerState& broker, const Question& question);
/// Calls the providers of a route.
Answers ask(BrokerState& broker, const Route& route, const Question& question);

}  // namespace orv::broker
