// Clients that mean ill, processes that end, and load.

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/real_broker/broker_fixture.h"
#include "tests/support/simulated_host_file.h"

namespace orv::test {
namespace {

using std::chrono::seconds;

const std::vector<std::string> kInstanceClasses = {"Orvane_EthernetPort",
                                                   "Orvane_EPStatisticalInformation",
                                                   "Orvane_EPCoalesceSettingData",
                                                   "Orvane_EPDriverSoftwareIdentity",
                                                   "Orvane_EPFirmwareSoftwareIdentity",
                                                   "Orvane_KernelIPv4ProtocolEndpoint",
                                                   "Orvane_KernelIPv6ProtocolEndpoint",
                                                   "Orvane_Processor",
                                                   "Orvane_HypervisorSoftwareIdentity",
                                                   "Orvane_LatchedHealthState",
                                                   "Orvane_RollupHealthState"};

const std::vector<std::string> kAssociationOperations = {"Associators", "AssociatorNames",
                                                         "References", "ReferenceNames"};

Keys portKeys(const std::string& device) {
  return {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
          {"SystemName", "host-7"},
          {"CreationClassName", "Orvane_EthernetPort"},
          {"DeviceID", device}};
}

bool portsAreServed() {
  return ask("EnumerateInstanceNames", classParameter("Orvane_EthernetPort"))
             .count("INSTANCENAME") == 2;
}

class RealRobustnessTest : public RealBrokerTest {
 protected:
  /// Asks every operation that takes this object, of every class. No answer may be missing.
  void askEverythingOf(const Keys& keys, const std::string& what) const {
    for (const std::string& name : kInstanceClasses) {
      const Reply reply = ask("GetInstance", nameParameter("InstanceName", name, keys));
      EXPECT_GE(reply.code(), 0) << what << ": GetInstance " << name << " " << reply.httpStatus;
    }
    for (const std::string& operation : kAssociationOperations) {
      for (const std::string& name : kInstanceClasses) {
        const Reply reply = ask(operation, nameParameter("ObjectName", name, keys));
        EXPECT_GE(reply.code(), 0)
            << what << ": " << operation << " " << name << " " << reply.httpStatus;
      }
    }
  }

  void expectTheSameProcessStillServes(pid_t process) const {
    EXPECT_TRUE(portsAreServed());
    EXPECT_EQ(sandbox_->providerProcesses(), std::vector<pid_t>{process});
  }

  /// Serves the simulated host, and answers the process that does it.
  pid_t serveInOneProcess() {
    serve(Library::kSimulatedHost);
    EXPECT_TRUE(portsAreServed());
    const std::vector<pid_t> processes = sandbox_->providerProcesses();
    EXPECT_EQ(processes.size(), 1U);
    return processes.empty() ? 0 : processes.front();
  }
};

TEST_F(RealRobustnessTest, LongKeysAreAnswered) {
  const pid_t process = serveInOneProcess();
  for (const std::size_t size : {1000U, 3900U, 4000U, 4095U, 4096U, 5000U, 20000U}) {
    const std::string text(size, 'k');
    askEverythingOf(portKeys(text), std::to_string(size));
    askEverythingOf({{"InstanceID", text}}, std::to_string(size));
  }
  expectTheSameProcessStillServes(process);
}

// The health monitor asks for the hardware and the associations of a port ask for the system's
// parts: two libraries that ask each other at the same time.
TEST_F(RealRobustnessTest, AssociationsAreAnsweredWhileTheHealthMonitorPolls) {
  const pid_t process = serveInOneProcess();
  // Ten seconds after the start, and then at once.
  const auto monitorHasPolled = std::chrono::steady_clock::now() + seconds(13);
  ASSERT_EQ(ask("EnumerateInstances", classParameter("Orvane_RollupHealthState")).code(), 0);
  while (std::chrono::steady_clock::now() < monitorHasPolled) {
    for (const std::string& operation : kAssociationOperations) {
      const Reply reply =
          ask(operation, nameParameter("ObjectName", "Orvane_EthernetPort", portKeys("nic0")));
      ASSERT_EQ(reply.code(), 0) << operation << ": " << reply.httpStatus;
    }
  }
  expectTheSameProcessStillServes(process);
}

TEST_F(RealRobustnessTest, QuotesInKeysAreAnswered) {
  const pid_t process = serveInOneProcess();
  for (const char* text : {"\"", "nic\"0", "\"nic0\"", "a\\\"b", "\\", "nic0\\", "a,b=c", "<&>"}) {
    askEverythingOf(portKeys(text), text);
    askEverythingOf({{"InstanceID", text}}, text);
    askEverythingOf({{"InstanceID", std::string("Orvane:Orvane_EPStatisticalInformation:") + text}},
                    text);
  }
  expectTheSameProcessStillServes(process);
}

// A reference to such a port cannot be read back, or is longer than the broker's buffer.
TEST_F(RealRobustnessTest, PortsThatNoReferenceCarriesAreLeftOutOfTheAssociationClasses) {
  sandbox_ = std::make_unique<BrokerSandbox>(Library::kSimulatedHost);
  const SimulatedHostFile host(R"({"ports": [{"name": "nic0"}, {"name": "ni\"c"}, {"name": ")" +
                               std::string(4200, 'n') + R"("}, {"name": "nic1"}]})");
  sandbox_->simulate(host.path());
  ASSERT_EQ(sandbox_->registerProviders().status, 0);
  ASSERT_TRUE(sandbox_->start()) << sandbox_->log();
  for (const char* name :
       {"Orvane_EPDriverElementSoftwareIdentity", "Orvane_EPFirmwareElementSoftwareIdentity",
        "Orvane_EPStatistics", "Orvane_EPCoalesceElementSettingData"}) {
    const Reply names = ask("EnumerateInstanceNames", classParameter(name));
    EXPECT_EQ(names.code(), 0) << name;
    EXPECT_EQ(names.count("INSTANCENAME"), 2U * 3U) << name << ": with its two references";
    const Reply instances = ask("EnumerateInstances", classParameter(name));
    EXPECT_EQ(instances.code(), 0) << name;
    EXPECT_EQ(instances.count("INSTANCE"), 2U) << name;
  }
  EXPECT_EQ(ask("EnumerateInstances", classParameter("Orvane_EthernetPort")).count("INSTANCE"), 4U);
}

TEST_F(RealRobustnessTest, DoubledAndForeignKeysAreAnswered) {
  const pid_t process = serveInOneProcess();
  Keys doubled = portKeys("nic0");
  doubled.emplace_back("DeviceID", "nic1");
  askEverythingOf(doubled, "doubled");
  askEverythingOf({{"Foreign", "x"}}, "foreign");
  askEverythingOf({}, "no keys");
  // First as a number, then as a text.
  const std::string mixed =
      "<INSTANCENAME CLASSNAME=\"CIM_ComputerSystem\"><KEYBINDING NAME=\"Name\">"
      "<KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"Name\">"
      "<KEYVALUE VALUETYPE=\"string\">x</KEYVALUE></KEYBINDING></INSTANCENAME>";
  // The broker's own InternalProvider dies of such a key, and then the request may have no answer,
  // so each request is for an association of ours.
  for (const std::string& operation : kAssociationOperations) {
    const std::string filter = operation[0] == 'A' ? "AssocClass" : "ResultClass";
    for (const char* association : {"Orvane_EPStatistics", "Orvane_LatchedHealthAssociation",
                                    "Orvane_InstalledSoftwareIdentity"}) {
      const std::string ours = std::string("<CLASSNAME NAME=\"") + association + "\"/>";
      const Reply reply = ask(operation, parameter("ObjectName", mixed) + parameter(filter, ours));
      EXPECT_GE(reply.code(), 0) << operation << " " << association;
    }
  }
  expectTheSameProcessStillServes(process);
}

TEST_F(RealRobustnessTest, AKilledProviderProcessIsReplacedAtTheNextRequest) {
  const pid_t process = serveInOneProcess();
  ASSERT_GT(process, 0);
  kill(process, SIGKILL);
  // A request that comes before the daemon has noticed waits for the dead process, and with it the
  // whole broker.
  ASSERT_TRUE(holdsWithin(seconds(10), [&] { return kill(process, 0) != 0; }));
  EXPECT_TRUE(holdsWithin(seconds(10), portsAreServed));
  EXPECT_EQ(sandbox_->providerProcesses().size(), 1U);
  EXPECT_LT(sandbox_->stop(), seconds(5));
}

// One request of a mixture that walks through classes and operations.
bool oneRequest(std::size_t number) {
  const std::string& name = kInstanceClasses[number % kInstanceClasses.size()];
  const Keys port = portKeys(number % 2 == 0 ? "nic0" : "nic1");
  switch (number / kInstanceClasses.size() % 6) {
    case 0:
      return ask("EnumerateInstances", classParameter(name)).code() == 0;
    case 1:
      return ask("EnumerateInstanceNames", classParameter(name)).code() == 0;
    case 2:
      return ask("GetInstance", nameParameter("InstanceName", "Orvane_EthernetPort", port))
                 .code() == 0;
    case 3:
      return ask("Associators", nameParameter("ObjectName", "Orvane_EthernetPort", port)).code() ==
             0;
    case 4:
      return ask("References", nameParameter("ObjectName", "Orvane_EthernetPort", port)).code() ==
             0;
    default:
      return ask("GetInstance", nameParameter("InstanceName", name, {{"InstanceID", "none"}}))
                 .code() >= 0;
  }
}

// Answers how many requests failed.
std::size_t askFromEightClients(std::size_t requests) {
  constexpr std::size_t kClients = 8;
  std::atomic<std::size_t> failed{0};
  std::vector<std::thread> clients;
  for (std::size_t client = 0; client < kClients; ++client) {
    clients.emplace_back([=, &failed] {
      for (std::size_t number = client; number < requests; number += kClients) {
        if (!oneRequest(number)) ++failed;
      }
    });
  }
  for (std::thread& client : clients) client.join();
  return failed;
}

TEST_F(RealRobustnessTest, ManyRequestsOfEightClientsLeaveTheMemoryFlat) {
  const pid_t process = serveInOneProcess();
  const std::size_t requests = std::getenv("ORV_LONG_TESTS") == nullptr ? 4'000 : 20'000;
  EXPECT_EQ(askFromEightClients(requests / 4), 0U);
  const long before = residentKilobytes(process);
  EXPECT_EQ(askFromEightClients(requests), 0U);
  const long after = residentKilobytes(process);
  std::printf("%zu requests: %ld kB before, %ld kB after\n", requests, before, after);
  EXPECT_LT(after - before, 1024);
  expectTheSameProcessStillServes(process);
}

}  // namespace
}  // namespace orv::test
