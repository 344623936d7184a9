#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "bench/kernel_floor.h"
#include "bench/link_namespace.h"
#include "bench/measure.h"
#include "bench/null_provider.h"
#include "bench/port_requests.h"
#include "bench/table_reporter.h"

// How much of a request on a real Linux host is ours? The whole library answers through the
// embedded broker, in network namespaces of 2 to 1,024 veth links, which count as ports in the
// library of these benchmarks. "ratio" is the time of a request divided by the sum of two floors of
// the same run: the null provider with the same values, and the same questions to the kernel
// without using the answers. Needs root.
namespace {

using namespace orv::bench;
using orv::broker::Operation;
using orv::broker::Request;
using orv::broker::TestBroker;

constexpr char kLoadOption[] = "--load";  // of a child of this program; see secondsToLoad()
constexpr int kPortCounts[] = {2, 16, 128, 1024};

TestBroker& portsBroker() {
  static TestBroker broker(portBroker(ORV_EVERY_LINK_LIBRARY));
  return broker;
}

TestBroker& hostBroker() {
  static TestBroker broker(portBroker(ORV_REAL_LIBRARY));
  return broker;
}

std::vector<std::string> linkNames(int count) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.push_back("nic" + std::to_string(i));
  return names;
}

/// A class of the ports, and what the kernel is asked about each port for one instance.
struct ClassRow {
  const char* name;
  std::vector<std::uint32_t> commands;
};

const std::vector<std::uint32_t> kPortCommands = {ETHTOOL_GLINKSETTINGS, ETHTOOL_GWOL,
                                                  ETHTOOL_GPERMADDR, ETHTOOL_GCHANNELS};

const ClassRow kClasses[] = {
    {"Orvane_EthernetPort", kPortCommands},
    {"Orvane_EPDriverSoftwareIdentity", {ETHTOOL_GDRVINFO}},
    {"Orvane_EPFirmwareSoftwareIdentity", {ETHTOOL_GDRVINFO}},
    {"Orvane_EPStatisticalInformation", {}},
    {"Orvane_EPCoalesceSettingData", {ETHTOOL_GCOALESCE}},
    {"Orvane_EPDriverElementSoftwareIdentity", {}},
    {"Orvane_EPStatistics", {}},
};

void enumerate(benchmark::State& state, Operation operation, const ClassRow& row) {
  const auto count = static_cast<int>(state.range(0));
  enterNamespaceWithLinks(count);
  const auto names = linkNames(count);
  const bool asksDrivers = operation == Operation::kEnumerateInstances && !row.commands.empty();
  measureRequest(state, portsBroker(), requestOf(operation, row.name), "kernel_us", [&] {
    dumpLinks();
    if (asksDrivers) askEthtool(names, row.commands);
  });
}

void fromPort(benchmark::State& state, Operation operation) {
  const auto count = static_cast<int>(state.range(0));
  enterNamespaceWithLinks(count);
  const Request request = requestAboutMiddlePort(portsBroker(), operation);
  const std::string name = "nic" + std::to_string(count / 2);
  const bool asksForPort =
      operation == Operation::kGetInstance || operation == Operation::kAssociators;
  measureRequest(state, portsBroker(), request, "kernel_us", [&] {
    if (!asksForPort) return;
    findLink(name);
    if (operation == Operation::kGetInstance) askEthtool({name}, kPortCommands);
  });
}

/// A host with virtual links only: how long it takes to answer that there are no ports.
void virtualLinks(benchmark::State& state) {
  enterNamespaceWithLinks(static_cast<int>(state.range(0)));
  const Request request = requestOf(Operation::kEnumerateInstanceNames, kPortClass);
  measureRequest(state, hostBroker(), request, "kernel_us", dumpLinks, true);
}

/// Processor time of a process that runs this program, loads the library and ends.
double secondsToLoad(const std::string& library) {
  std::string program = "/proc/self/exe";
  std::string option = kLoadOption;
  std::string file = library;
  char* arguments[] = {program.data(), option.data(), file.data(), nullptr};
  pid_t child = 0;
  if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ) != 0) return 0;
  rusage usage{};
  wait4(child, nullptr, 0, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// What loading the library adds to the start of a process.
void startLibrary(benchmark::State& state) {
  std::vector<double> with;
  std::vector<double> without;
  for (auto _ : state) {
    with.push_back(secondsToLoad(ORV_REAL_LIBRARY));
    without.push_back(secondsToLoad(""));
    state.SetIterationTime(with.back());
  }
  state.counters["process_us"] = medianOf(without) * 1e6;
  state.counters["library_us"] = (medianOf(with) - medianOf(without)) * 1e6;
}

template <typename Body>
void add(const std::string& name, Body body) {
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), [body](benchmark::State& state) {
    try {
      body(state);
    } catch (const std::exception& error) {
      state.SkipWithError(error.what());
    }
  });
  for (const int count : kPortCounts) registered->Arg(count);
  registered->Unit(benchmark::kMicrosecond)->UseManualTime();
}

void addAll() {
  for (const ClassRow& row : kClasses) {
    add(std::string("EnumeratePorts/") + row.name,
        [&row](benchmark::State& state) { enumerate(state, Operation::kEnumerateInstances, row); });
  }
  add("EnumeratePortNames", [](benchmark::State& state) {
    enumerate(state, Operation::kEnumerateInstanceNames, kClasses[0]);
  });
  const std::pair<const char*, Operation> operations[] = {
      {"GetPort", Operation::kGetInstance},
      {"ReferencesOfPort", Operation::kReferences},
      {"AssociatorNamesOfPort", Operation::kAssociatorNames},
      {"AssociatorsOfPort", Operation::kAssociators},
  };
  for (const auto& [name, operation] : operations) {
    add(name, [operation = operation](benchmark::State& state) { fromPort(state, operation); });
  }
  add("VirtualLinks", virtualLinks);
  benchmark::RegisterBenchmark("StartLibrary", startLibrary)
      ->Unit(benchmark::kMicrosecond)
      ->UseManualTime();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && argv[1] == std::string(kLoadOption)) {
    if (*argv[2] != '\0' && dlopen(argv[2], RTLD_NOW) == nullptr) return 1;
    return 0;
  }
  // The library's start lines are not wanted here.
  if (const int null = open("/dev/null", O_WRONLY | O_CLOEXEC); null >= 0) dup2(null, 2);
  addAll();
  return runBenchmarks(argc, argv);
}
