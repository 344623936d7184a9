#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "bench/measure.h"
#include "bench/null_provider.h"
#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "broker/testing/test_broker.h"

/// The requests about Ethernet ports that the benchmarks make.
namespace orv::bench {

inline constexpr char kPortProvider[] = "EthernetPortProvider";
inline constexpr char kPortClass[] = "Orvane_EthernetPort";

/// Options of a broker with the port provider of a library and the null provider.
inline broker::Broker::Options portBroker(const std::string& library) {
  const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] =
      std::make_shared<const broker::ClassRepository>(broker::loadSchema(schema));
  for (auto& section : broker::readRegistrationFile(schema + "/orvprovider.reg")) {
    if (section.provider == kPortProvider) options.registration.push_back(std::move(section));
  }
  options.libraryFile = library;
  addNullProvider(options);
  return options;
}

inline broker::Request requestOf(broker::Operation operation, const std::string& className) {
  broker::Request request;
  request.operation = operation;
  request.path.nameSpace = "root/cimv2";
  request.path.className = className;
  return request;
}

/// A request about the port in the middle of the list; without keys when there is no port.
inline broker::Request requestAboutMiddlePort(broker::TestBroker& broker,
                                              broker::Operation operation) {
  broker::Request request = requestOf(operation, kPortClass);
  const auto names = broker.requestTo(
      kPortProvider, requestOf(broker::Operation::kEnumerateInstanceNames, kPortClass));
  if (!names.paths.empty()) request.path = names.paths[names.paths.size() / 2];
  return request;
}

/// Measures a request to the port provider. Its floors are the null provider with the very same
/// answer, and `askHost`, under the name `hostName`. An answer without objects is an error unless
/// `answersNone`.
inline void measureRequest(benchmark::State& state, broker::TestBroker& broker,
                           const broker::Request& request, const char* hostName,
                           const std::function<void()>& askHost, bool answersNone = false) {
  const auto ask = [&](const char* provider) -> broker::Response {
    return broker.requestTo(provider, request);
  };
  const broker::Response answer = ask(kPortProvider);
  replayAnswer(answer);
  const broker::Response replayed = ask(kNullProvider);
  if (answer.instances != replayed.instances || answer.paths != replayed.paths) {
    return state.SkipWithError("the null provider answers otherwise");
  }
  const std::size_t objects = answer.instances.size() + answer.paths.size();
  if (!answer.ok() || (objects == 0) != answersNone) {
    return state.SkipWithError("the request failed");
  }
  askHost();  // the first time may read the simulated host's file
  state.counters["objects"] = static_cast<double>(objects);
  measureAgainst(
      state, [&] { benchmark::DoNotOptimize(ask(kPortProvider)); },
      {{"null_us", [&] { benchmark::DoNotOptimize(ask(kNullProvider)); }}, {hostName, askHost}});
}

}  // namespace orv::bench
