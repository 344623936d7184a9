// Processors of many kinds: what the library says of them, beside lscpu and the rule of
// docs/linux-host.md.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/guest/guest.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using Cores = std::vector<int>;

class GuestProcessors : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = Guest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
  }

  void boot(const std::string& processor, const std::string& topology,
            const std::vector<std::string>& options = {}) {
    GuestHardware hardware;
    hardware.processor = processor;
    hardware.topology = topology;
    hardware.options = options;
    guest_ = std::make_unique<Guest>(hardware);
  }

  /// The number of cores of each package that is published, in the order of their names.
  Cores cores() const {
    Cores numbers;
    for (const json& instance : guest_->orvcim("instances Orvane_Processor")) {
      numbers.push_back(instance["properties"]["NumberOfEnabledCores"]);
    }
    return numbers;
  }

  void setOnline(const std::string& cpus, bool on) const {
    for (const char cpu : cpus) {
      const Outcome outcome = guest_->run(std::string("echo ") + (on ? "1" : "0") +
                                          " >/sys/devices/system/cpu/cpu" + cpu + "/online");
      EXPECT_EQ(outcome.status, 0) << cpu << ": " << outcome.err;
    }
  }

  /// The comparison with lscpu that runs on any machine, run on this one.
  void expectAgreementWithLscpu() const {
    const Outcome outcome = guest_->run(
        ORV_BINARY_DIR "/bin/processor_real_host_test --gtest_filter='RealProcessors*'");
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("[  PASSED  ]"));
  }

  std::unique_ptr<Guest> guest_;
};

struct Model {
  const char* processor;
  const char* topology;
  Cores cores;
};

class GuestProcessorModels : public GuestProcessors, public testing::WithParamInterface<Model> {};

TEST_P(GuestProcessorModels, AgreeWithLscpu) {
  boot(GetParam().processor, GetParam().topology);
  EXPECT_EQ(cores(), GetParam().cores);
  expectAgreementWithLscpu();
}

INSTANTIATE_TEST_SUITE_P(
    Models, GuestProcessorModels,
    testing::Values(Model{"qemu64", "1", {1}},
                    Model{"EPYC", "4,sockets=2,cores=2,threads=1", {2, 2}},
                    Model{"Skylake-Server", "4,sockets=2,cores=2,threads=1", {2, 2}},
                    Model{"Dhyana", "2,sockets=2,cores=1,threads=1", {1, 1}},
                    Model{"max", "4,sockets=2,cores=2,threads=1", {2, 2}}),
    [](const auto& tested) {
      std::string name = tested.param.processor;
      name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
      return name;
    });

// Two packages of two cores. An offline core stays a core of its package.
TEST_F(GuestProcessors, CountTheirOfflineCores) {
  boot("max", "4,sockets=2,cores=2,threads=1");
  EXPECT_EQ(cores(), (Cores{2, 2}));
  for (const char* offline : {"1", "2", "3", "13"}) {
    setOnline(offline, false);
    EXPECT_EQ(cores(), (Cores{2, 2})) << offline;
    setOnline(offline, true);
  }
}

// The same with two threads a core: one thread, one core, and every second thread (SMT off).
TEST_F(GuestProcessors, CountCoresWhoseThreadsAreOffline) {
  boot("max", "8,sockets=2,cores=2,threads=2",
       {"-numa", "node,cpus=0-7,memdev=m", "-object", "memory-backend-ram,id=m,size=512M"});
  EXPECT_EQ(cores(), (Cores{2, 2}));
  for (const char* offline : {"1", "5", "7", "67", "23", "1357"}) {
    setOnline(offline, false);
    EXPECT_EQ(cores(), (Cores{2, 2})) << offline;
    setOnline(offline, true);
  }
}

// A node for each package.
TEST_F(GuestProcessors, AreToldApartByTheirNodes) {
  boot("max", "4,sockets=2,cores=2,threads=1",
       {"-numa", "node,cpus=0-1,memdev=m0", "-numa", "node,cpus=2-3,memdev=m1", "-object",
        "memory-backend-ram,id=m0,size=256M", "-object", "memory-backend-ram,id=m1,size=256M"});
  expectAgreementWithLscpu();
  for (const char* offline : {"1", "2", "3", "23"}) {
    setOnline(offline, false);
    EXPECT_EQ(cores(), (Cores{2, 2})) << offline;
    setOnline(offline, true);
  }
}

TEST_F(GuestProcessors, AreFoundWhenTheyAreAdded) {
  boot("max", "1,sockets=2,cores=1,threads=1,maxcpus=2");
  EXPECT_EQ(cores(), (Cores{1}));
  guest_->command("device_add", {{"driver", "max-x86_64-cpu"},
                                 {"id", "added"},
                                 {"socket-id", 1},
                                 {"core-id", 0},
                                 {"thread-id", 0}});
  EXPECT_EQ(guest_
                ->run("for i in 1 2 3 4 5 6 7 8 9 10; do "
                      "[ -e /sys/devices/system/cpu/cpu1/online ] && break; sleep 0.2; done; "
                      "echo 1 >/sys/devices/system/cpu/cpu1/online")
                .status,
            0);
  EXPECT_EQ(cores(), (Cores{1, 1}));
  expectAgreementWithLscpu();
}

}  // namespace
}  // namespace orv::test
