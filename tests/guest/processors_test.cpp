// Processors of many kinds, with all CPUs online and with some of them offline: what the library
// says of them, beside lscpu and the rule of docs/linux-host.md.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <vector>

#include "tests/guest/guest.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using Numbers = std::vector<int>;

constexpr int kRuns = 1;
constexpr int kIdle = 4;

struct Machine {
  const char* name;
  const char* processor;
  const char* topology;
  std::vector<std::string> options;
  Numbers cores;  ///< of each package, in the order of their numbers
};

void PrintTo(const Machine& machine, std::ostream* out) { *out << machine.name; }

/// What the library and lscpu say of one state.
struct State {
  json processors;  ///< properties, by position
  json cpus;        ///< lscpu's rows: cpu, socket (its physical number), online
  bool severalThreads = false;

  Numbers all(const char* property) const {
    Numbers numbers;
    for (const json& processor : processors) numbers.push_back(processor[property]);
    return numbers;
  }
};

/// lscpu's rows. It writes a dash, which is not JSON, for what an offline CPU does not show.
json rowsOf(const std::string& text) {
  const std::string valid = std::regex_replace(text, std::regex(": -(,?)"), ": null$1");
  return json::parse(valid)["cpus"];
}

class GuestProcessors : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = Guest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
  }

  void boot(const std::string& processor, const std::string& topology,
            const std::vector<std::string>& options) {
    GuestHardware hardware;
    hardware.processor = processor;
    hardware.topology = topology;
    hardware.options = options;
    guest_ = std::make_unique<Guest>(hardware);
    // On a busy machine an emulated CPU may be too slow for the kernel, which leaves it offline.
    const Outcome slow = guest_->run(
        "for f in /sys/devices/system/cpu/cpu*/online; do read on <$f; [ $on = 1 ] || "
        "{ echo $f; echo 1 >$f; }; done");
    EXPECT_EQ(slow.status, 0) << slow.err;
    if (!slow.out.empty()) std::cout << "offline after the boot:\n" << slow.out;
  }

  /// Changes something with a command of the shell, and looks at what comes of it.
  State after(const std::string& change) const {
    const Outcome outcome = guest_->run(
        change + " || echo failed >&2; " + kGuestClient +
        " instances Orvane_Processor 2>/dev/null; echo ====; lscpu -J -y -a -e=CPU,SOCKET,ONLINE; "
        "echo ====; cat /sys/devices/system/cpu/smt/active");
    EXPECT_EQ(outcome.err, "") << change;
    const std::size_t second = outcome.out.find("====");
    const std::size_t third = outcome.out.rfind("====");
    const json answers = json::parse(outcome.out.substr(0, second), nullptr, false);
    State state;
    for (const json& instance : answers["Orvane_Processor"]) {
      state.processors.push_back(instance["properties"]);
    }
    state.cpus = rowsOf(outcome.out.substr(second + 4, third - second - 4));
    state.severalThreads = outcome.out.substr(third).find('1') != std::string::npos;
    return state;
  }

  /// Remembers which package each CPU is of: the kernel tells it of those that are online.
  void learn(const State& state) {
    for (const json& cpu : state.cpus) {
      if (cpu["online"]) packageOf_[cpu["cpu"]] = cpu["socket"];
    }
  }

  /// Every package has its cores, whether they run or not; it runs when one of its CPUs does.
  void expectRule(const State& state, const Numbers& cores) const {
    EXPECT_EQ(state.all("NumberOfEnabledCores"), cores);
    std::map<int, int> status;
    for (const json& cpu : state.cpus) {
      int& package = status.emplace(packageOf_.at(cpu["cpu"]), kIdle).first->second;
      if (cpu["online"]) package = kRuns;
    }
    Numbers expected;
    for (const auto& [package, code] : status) expected.push_back(code);
    EXPECT_EQ(state.all("CPUStatus"), expected);
    for (std::size_t number = 0; number < state.processors.size(); ++number) {
      const json& processor = state.processors[number];
      EXPECT_EQ(processor["DeviceID"], "cpu-" + std::to_string(number));
      EXPECT_EQ(!processor["Characteristics"][2].is_null(), state.severalThreads);
    }
  }

  static std::string setOnline(const std::string& cpus, bool on) {
    return "for c in " + cpus + "; do echo " + (on ? "1" : "0") +
           " >/sys/devices/system/cpu/cpu$c/online; done";
  }

  /// Takes CPUs offline, looks, and brings them back.
  void expectRuleWithout(const std::string& cpus, const Numbers& cores) const {
    SCOPED_TRACE("offline: " + cpus);
    expectRule(after(setOnline(cpus, false)), cores);
    guest_->run(setOnline(cpus, true));
  }

  /// The comparison with lscpu that runs on any machine, run on this one.
  void expectAgreementWithLscpu() const {
    const Outcome outcome = guest_->run(
        ORV_BINARY_DIR "/bin/processor_real_host_test --gtest_filter='RealProcessors*'");
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("[  PASSED  ]"));
  }

  std::unique_ptr<Guest> guest_;
  std::map<int, int> packageOf_;  ///< physical number of the package, by CPU
};

// Two nodes of 256 MB; the CPUs of the first one, and those of the second.
std::vector<std::string> twoNodes(const std::string& first, const std::string& second) {
  return {"-object", "memory-backend-ram,id=m0,size=256M",
          "-object", "memory-backend-ram,id=m1,size=256M",
          "-numa",   "node,memdev=m0,cpus=" + first,
          "-numa",   "node,memdev=m1,cpus=" + second};
}

std::vector<std::string> oneNode(const std::string& cpus) {
  return {"-object", "memory-backend-ram,id=m,size=512M", "-numa", "node,memdev=m,cpus=" + cpus};
}

// Of an AMD processor Linux takes threads for cores, since the emulator has no extended topology.
const Machine kMachines[] = {
    {"qemu64", "qemu64", "2,sockets=1,cores=2,threads=1", {}, {2}},
    {"EpycOfTwoNodes", "EPYC", "4,sockets=2,cores=1,threads=2", twoNodes("0-1", "2-3"), {2, 2}},
    {"SkylakeServer", "Skylake-Server", "4,sockets=1,cores=2,threads=2", {}, {2}},
    {"Dhyana", "Dhyana", "4,sockets=2,cores=2,threads=1", {}, {2, 2}},
    {"MaxOfTwoNodes", "max", "4,sockets=2,cores=2,threads=1", twoNodes("0-1", "2-3"), {2, 2}},
    {"MaxOfOneNode", "max", "8,sockets=2,cores=2,threads=2", oneNode("0-7"), {4, 4}},
};

class GuestProcessorModels : public GuestProcessors, public testing::WithParamInterface<Machine> {};

TEST_P(GuestProcessorModels, AreCountedWhateverIsOffline) {
  const Machine& machine = GetParam();
  boot(machine.processor, machine.topology, machine.options);
  const State whole = after("true");
  learn(whole);
  expectRule(whole, machine.cores);
  expectAgreementWithLscpu();

  std::string all;
  for (std::size_t cpu = 1; cpu < whole.cpus.size(); ++cpu) {
    expectRuleWithout(std::to_string(cpu), machine.cores);
    all += std::to_string(cpu) + " ";
  }
  expectRuleWithout(all, machine.cores);
  if (whole.severalThreads) {
    SCOPED_TRACE("SMT off");
    const State state = after("echo off >/sys/devices/system/cpu/smt/control");
    EXPECT_FALSE(state.severalThreads);
    expectRule(state, machine.cores);
    guest_->run("echo on >/sys/devices/system/cpu/smt/control");
  }
  const State again = after("true");
  EXPECT_EQ(again.cpus, whole.cpus);
  EXPECT_EQ(again.processors, whole.processors);
}

INSTANTIATE_TEST_SUITE_P(Models, GuestProcessorModels, testing::ValuesIn(kMachines),
                         [](const auto& tested) { return std::string(tested.param.name); });

// CPUs that come while the system runs. The kernel numbers them as they come, so that packages and
// CPUs are not in the same order, and packages have gaps between their numbers.
TEST_F(GuestProcessors, AreFoundWhenTheyAreAddedInAnyOrder) {
  boot("max", "2,sockets=5,cores=2,threads=1,maxcpus=10",
       {"-device", "max-x86_64-cpu,socket-id=3,core-id=1,thread-id=0", "-device",
        "max-x86_64-cpu,socket-id=3,core-id=0,thread-id=0"});
  const auto add = [this](int socket, int core, int cpu) {
    guest_->command("device_add",
                    {{"driver", "max-x86_64-cpu"},
                     {"id", "s" + std::to_string(socket) + "c" + std::to_string(core)},
                     {"socket-id", socket},
                     {"core-id", core},
                     {"thread-id", 0}});
    const std::string file = "/sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/online";
    const State state = after("for i in $(seq 50); do [ -e " + file +
                              " ] && break; sleep 0.2; done; echo 1 >" + file);
    learn(state);
    return state;
  };
  const State first = after("true");
  learn(first);
  expectRule(first, {2, 2});
  expectAgreementWithLscpu();
  expectRule(add(4, 0, 4), {2, 2, 1});
  expectRule(add(1, 1, 5), {2, 1, 2, 1});
  expectRule(add(1, 0, 6), {2, 2, 2, 1});
  expectRule(add(4, 1, 7), {2, 2, 2, 2});
  EXPECT_EQ(packageOf_,
            (std::map<int, int>{{0, 0}, {1, 0}, {2, 3}, {3, 3}, {4, 4}, {5, 1}, {6, 1}, {7, 4}}));
  expectAgreementWithLscpu();
  for (int cpu = 1; cpu < 8; ++cpu) expectRuleWithout(std::to_string(cpu), {2, 2, 2, 2});
}

}  // namespace
}  // namespace orv::test
