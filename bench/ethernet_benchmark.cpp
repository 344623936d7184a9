#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "bench/measure.h"
#include "bench/null_provider.h"
#include "bench/port_requests.h"
#include "bench/table_reporter.h"
#include "platform/network_info.h"
#include "tests/support/host_with_ports.h"
#include "tests/support/simulated_host_file.h"

// Does a request take time in proportion to the number of ports, and how much of it is ours? The
// whole simulated library answers through the embedded broker. "ratio" is the time of a request
// divided by the sum of two floors of the same run: the null provider with the same values, and
// fetching the host library's list as often as the request needs it.
namespace {

using namespace orv::bench;
using orv::broker::Operation;
using orv::broker::TestBroker;

constexpr int kPortCounts[] = {1, 16, 128, 1024};
const char* const kClasses[] = {
    "Orvane_EthernetPort",
    "Orvane_EPDriverSoftwareIdentity",
    "Orvane_EPFirmwareSoftwareIdentity",
    "Orvane_EPStatisticalInformation",
    "Orvane_EPCoalesceSettingData",
    "Orvane_EPDriverElementSoftwareIdentity",
    "Orvane_EPFirmwareElementSoftwareIdentity",
    "Orvane_EPStatistics",
    "Orvane_EPCoalesceElementSettingData",
};

TestBroker& broker() {
  static TestBroker instance(portBroker(ORV_SIMULATED_LIBRARY));
  return instance;
}

void fetchList() {
  HykCtl::Network::NetworkInfoImpl network;
  benchmark::DoNotOptimize(network.GetPnics());
}

void enumerate(benchmark::State& state, Operation operation, const std::string& className) {
  const SimulatedHostFile host(makeHostWithPorts(static_cast<std::size_t>(state.range(0))));
  measureRequest(state, broker(), requestOf(operation, className), "list_us", fetchList);
}

/// A request about the port in the middle of the list.
void fromPort(benchmark::State& state, Operation operation) {
  const SimulatedHostFile host(makeHostWithPorts(static_cast<std::size_t>(state.range(0))));
  measureRequest(state, broker(), requestAboutMiddlePort(broker(), operation), "list_us", [] {});
}

template <typename Body>
void add(const std::string& name, Body body) {
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), body);
  for (const int count : kPortCounts) registered->Arg(count);
  registered->Unit(benchmark::kMicrosecond)->UseManualTime();
}

void addAll() {
  for (const char* name : kClasses) {
    const std::string className = name;
    add("EnumeratePorts/" + className, [className](benchmark::State& state) {
      enumerate(state, Operation::kEnumerateInstances, className);
    });
  }
  for (const std::string className : {"Orvane_EthernetPort", "Orvane_EPStatistics"}) {
    add("EnumeratePortNames/" + className, [className](benchmark::State& state) {
      enumerate(state, Operation::kEnumerateInstanceNames, className);
    });
  }
  const std::pair<const char*, Operation> operations[] = {
      {"Get", Operation::kGetInstance},
      {"References", Operation::kReferences},
      {"ReferenceNames", Operation::kReferenceNames},
      {"Associators", Operation::kAssociators},
      {"AssociatorNames", Operation::kAssociatorNames},
  };
  for (const auto& [name, operation] : operations) {
    add(std::string(name) + (operation == Operation::kGetInstance ? "Port" : "OfPort"),
        [operation = operation](benchmark::State& state) { fromPort(state, operation); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  // The library's start lines are not wanted here.
  if (const int null = open("/dev/null", O_WRONLY | O_CLOEXEC); null >= 0) dup2(null, 2);
  addAll();
  return runBenchmarks(argc, argv);
}
