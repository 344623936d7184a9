#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "broker/testing/test_broker.h"
#include "platform/network_info.h"
#include "tests/support/host_with_ports.h"
#include "tests/support/simulated_host_file.h"

// Does a request take time in proportion to the number of ports, and how much of it is ours? The
// whole simulated library answers through the embedded broker; the counter "ratio" compares with a
// floor that is measured in the same run: the host library's list fetched once, and the very
// objects of the answer made and returned through the broker's tables with their values at hand.
namespace {

using orv::broker::Instance;
using orv::broker::ObjectPath;
using orv::broker::Operation;
using orv::broker::RecordingResult;
using orv::broker::Request;
using orv::broker::RequestScope;
using orv::broker::Response;
using orv::broker::TestBroker;

constexpr char kProvider[] = "EthernetPortProvider";
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
  static const auto instance = [] {
    const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
    TestBroker::Options options;
    options.namespaces["root/cimv2"] =
        std::make_shared<const orv::broker::ClassRepository>(orv::broker::loadSchema(schema));
    for (auto& section : orv::broker::readRegistrationFile(schema + "/orvprovider.reg")) {
      if (section.provider == kProvider) options.registration.push_back(std::move(section));
    }
    options.libraryFile = ORV_SIMULATED_LIBRARY;
    return std::make_unique<TestBroker>(std::move(options));
  }();
  return *instance;
}

/// The answer's objects again, without a provider.
void replay(const Response& answer) {
  HykCtl::Network::NetworkInfoImpl network;
  benchmark::DoNotOptimize(network.GetPnics());
  RequestScope scope(broker());
  RecordingResult record(scope);
  const CMPIResult* result = record.record();
  for (const Instance& instance : answer.instances) {
    result->ft->returnInstance(result, scope.make(instance));
  }
  for (const ObjectPath& path : answer.paths) {
    result->ft->returnObjectPath(result, scope.make(path));
  }
  result->ft->returnDone(result);
}

/// Processor time of all threads: what else the machine does shows in it least.
double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Median of a few runs.
double floorOf(const Response& answer) {
  std::vector<double> seconds;
  for (int i = 0; i < 9; ++i) {
    const double start = cpuSeconds();
    replay(answer);
    seconds.push_back(cpuSeconds() - start);
  }
  std::nth_element(seconds.begin(), seconds.begin() + 4, seconds.end());
  return seconds[4];
}

void measure(benchmark::State& state, const Request& request) {
  const Response answer = broker().requestTo(kProvider, request);
  if (!answer.ok() || (answer.instances.empty() && answer.paths.empty())) {
    state.SkipWithError("the request failed");
    return;
  }
  const double floor = floorOf(answer);
  const double start = cpuSeconds();
  for (auto _ : state) benchmark::DoNotOptimize(broker().requestTo(kProvider, request));
  const double seconds = cpuSeconds() - start;
  state.counters["floor_us"] = floor * 1e6;
  state.counters["ratio"] = seconds / static_cast<double>(state.iterations()) / floor;
  state.SetComplexityN(state.range(0));
}

Request requestOf(Operation operation, const std::string& className) {
  Request request;
  request.operation = operation;
  request.path.nameSpace = "root/cimv2";
  request.path.className = className;
  return request;
}

void enumerate(benchmark::State& state, Operation operation, const std::string& className) {
  const SimulatedHostFile host(makeHostWithPorts(static_cast<std::size_t>(state.range(0))));
  measure(state, requestOf(operation, className));
}

/// From the port in the middle of the list.
void fromPort(benchmark::State& state, Operation operation) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const SimulatedHostFile host(makeHostWithPorts(count));
  Request request = requestOf(operation, "Orvane_EthernetPort");
  request.path = broker()
                     .requestTo(kProvider, requestOf(Operation::kEnumerateInstanceNames,
                                                     "Orvane_EthernetPort"))
                     .paths.at(count / 2);
  measure(state, request);
}

template <typename Body>
void add(const std::string& name, Body body) {
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), body);
  for (const int count : kPortCounts) registered->Arg(count);
  registered->Unit(benchmark::kMicrosecond)->Complexity(benchmark::oN)->MeasureProcessCPUTime();
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
  const std::pair<const char*, Operation> associations[] = {
      {"References", Operation::kReferences},
      {"ReferenceNames", Operation::kReferenceNames},
      {"Associators", Operation::kAssociators},
      {"AssociatorNames", Operation::kAssociatorNames},
  };
  for (const auto& [name, operation] : associations) {
    add(std::string(name) + "OfPort",
        [operation = operation](benchmark::State& state) { fromPort(state, operation); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  // The library's start lines are not what is asked for here.
  if (const int null = open("/dev/null", O_WRONLY | O_CLOEXEC); null >= 0) dup2(null, 2);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  addAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
