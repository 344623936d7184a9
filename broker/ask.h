#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/data.h"
#include "broker/provider_call.h"
#include "broker/results.h"
#include "broker/router.h"

/// Asking providers, for clients and for up-calls alike.
namespace orv::broker {

/// A request as every provider gets it, but for the class name in its path. Borrows what the
/// arguments point to.
struct Question {
  Operation operation = Operation::kEnumerateInstances;
  PathData path;
  CallArguments arguments;
  const CMPIContext* context = nullptr;  ///< of an up-call; null: a client asks
  CMPIFlags flags = 0;                   ///< of a client; goes into a context for each provider
};

/// What one provider answered to its part of a request.
struct Answer {
  std::string provider;
  std::string className;  ///< under which it was asked
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  ResultSink returned;
};

/// What all providers answered that were asked, in their order. The status is the first failure.
struct Answers {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::vector<Answer> answers;  ///< empty: no provider serves the class, or the route failed
};

/// Routes a question and asks. In a thread that works for the broker.
Answers ask(BrokerState& broker, const Question& question);
/// Asks those on the route.
Answers ask(BrokerState& broker, const Route& route, const Question& question);

}  // namespace orv::broker
