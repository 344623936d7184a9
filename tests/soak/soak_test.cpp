// Everything at once: clients, good and bad, on a host that changes, with monitors whose periods
// last milliseconds. ORV_SOAK_SECONDS sets for how long; a few seconds otherwise.

#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "health/monitor_state.h"
#include "tests/health/health_fixture.h"
#include "tests/health/test_interfaces.h"
#include "tests/health/test_period.h"
#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/indication_listener.h"
#include "tests/serve/raw_client.h"
#include "tests/serve/subscriber.h"
#include "tests/soak/whole_system.h"

namespace orv::test {
namespace {

using broker::Operation;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr unsigned kClients = 16;
constexpr unsigned kGoodHttpClients = 4;
constexpr unsigned kBadHttpClients = 4;
constexpr unsigned kElements = 48;  // that fail, one after the other

seconds duration() {
  const char* wanted = std::getenv("ORV_SOAK_SECONDS");
  return seconds(wanted == nullptr ? 3 : std::atoi(wanted));
}

void pause() { std::this_thread::sleep_for(milliseconds(1)); }

const std::vector<std::string> kClasses = {"Orvane_EthernetPort",
                                           "Orvane_EPStatisticalInformation",
                                           "Orvane_EPCoalesceSettingData",
                                           "Orvane_EPStatistics",
                                           "Orvane_KernelIPv4ProtocolEndpoint",
                                           "Orvane_Processor",
                                           "Orvane_HypervisorSoftwareIdentity",
                                           "Orvane_InstalledSoftwareIdentity",
                                           "Orvane_LatchedHealthState",
                                           "Orvane_RollupHealthState"};

// Monitored classes with the four keys of a device.
const std::vector<std::string> kHardwareClasses = {"CIM_Sensor", "CIM_PowerSupply",
                                                   "Orvane_Battery", "Orvane_DiskDrive"};

broker::IndicationFilter filterOf(const std::string& className) {
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM " + className;
  return filter;
}

broker::ObjectPath portPath(std::size_t number) {
  broker::ObjectPath path;
  path.nameSpace = "root/cimv2";
  path.className = "Orvane_EthernetPort";
  const std::pair<const char*, std::string> keys[] = {
      {"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
      {"SystemName", "host-7"},
      {"CreationClassName", "Orvane_EthernetPort"},
      {"DeviceID", "nic" + std::to_string(number)}};
  for (const auto& [name, text] : keys) path.keys.push_back({name, broker::Value::ofString(text)});
  return path;
}

class SoakTest : public ::testing::Test {
 protected:
  SoakTest() {
    scriptedHardware().clear();
    setPeriodMilliseconds(5);
    setInterfaceAddress("192.0.2.1");
  }
  ~SoakTest() override { actors_.end(); }

  void fail(const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (firstFailure_.empty()) firstFailure_ = what;
  }
  std::string firstFailure() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return firstFailure_;
  }

  // What actors do.

  void askSomething(std::minstd_rand& random);
  void askOverHttp(unsigned number);
  void misbehaveOverHttp(unsigned number) const;
  void comeAndGo(const std::string& className);
  void subscribeOverHttp(const std::string& name, const std::string& url);
  void changeAddress(unsigned number);
  void changeHealth(unsigned number);
  std::size_t latchedRecords();
  void loadEveryProvider();
  void startActors();

  ChangingHost host_;
  WholeSystem system_;
  AddressWatch addresses_;
  IndicationListener listener_;
  std::atomic<unsigned> answers_{0};
  std::atomic<unsigned> httpAnswers_{0};
  std::atomic<unsigned> heartbeats_{0};
  std::atomic<unsigned> changes_{0};
  std::atomic<unsigned> latched_{0};
  std::mutex mutex_;  // guards firstFailure_
  std::string firstFailure_;
  Actors actors_;  // last: ends before what it uses
};

// Statuses of objects that may have gone: 0, or 6 "not found".
void SoakTest::askSomething(std::minstd_rand& random) {
  constexpr Operation kOperations[] = {
      Operation::kEnumerateInstances, Operation::kEnumerateInstanceNames, Operation::kGetInstance,
      Operation::kAssociators,        Operation::kAssociatorNames,        Operation::kReferences,
      Operation::kReferenceNames};
  broker::Request request;
  request.operation = kOperations[random() % std::size(kOperations)];
  const bool isEnumeration = request.operation == Operation::kEnumerateInstances ||
                             request.operation == Operation::kEnumerateInstanceNames;
  request.path = portPath(random() % 9);
  if (isEnumeration) {
    request.path.keys.clear();
    request.path.className = kClasses[random() % kClasses.size()];
  }
  if (random() % 4 == 0) request.properties = std::vector<std::string>{"Name", "DeviceID"};
  const CMPIrc rc = system_.broker().request(request).rc;
  if (rc != CMPI_RC_OK && (isEnumeration || rc != CMPI_RC_ERR_NOT_FOUND)) {
    fail(request.path.className + ": status " + std::to_string(rc));
  }
  ++answers_;
}

void SoakTest::askOverHttp(unsigned number) {
  const std::string& name = kClasses[number % kClasses.size()];
  const char* method = number % 2 == 0 ? "EnumerateInstances" : "EnumerateInstanceNames";
  const Reply reply = postTo(
      system_.port(), requestMessage(method, "root/cimv2", classParameter("ClassName", name)));
  if (reply.httpStatus != 200 || reply.code() != 0) {
    fail(name + " over HTTP: " + std::to_string(reply.httpStatus) + " " + reply.body);
  }
  ++httpAnswers_;
}

// Half a request, what is not HTTP, a message without an end, and a connection without a word.
void SoakTest::misbehaveOverHttp(unsigned number) const {
  const serve::RawClient client(system_.port(), "127.0.0.2");  // which has its own limit
  const std::string kinds[] = {"POST /cimom HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Le",
                               std::string(2000, '\xff') + "\r\n\r\n",
                               "POST /cimom HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: "
                               "application/xml\r\nContent-Length: 90000\r\n\r\n<CIM><MESSAGE",
                               ""};
  if (client.connected()) static_cast<void>(client.send(kinds[number % std::size(kinds)]));
  pause();
}

void SoakTest::comeAndGo(const std::string& className) {
  const auto subscribed = system_.broker().subscribe(
      filterOf(className), [this](const broker::Instance&) { ++heartbeats_; });
  if (!subscribed.ok()) return fail(className + ": " + std::to_string(subscribed.rc));
  pause();
  const broker::Response gone = system_.broker().unsubscribe(subscribed.id);
  if (!gone.ok()) fail(className + " is not ended: " + std::to_string(gone.rc));
}

void SoakTest::subscribeOverHttp(const std::string& name, const std::string& url) {
  listener_.forget();
  const Subscriber subscriber(system_.port());
  const FilterText heartbeats{"SELECT * FROM Orvane_CIMHeartbeat", "WQL", "root/cimv2"};
  const std::string failure = subscriber.subscribe(name, url, heartbeats);
  if (!failure.empty()) return fail("subscription over HTTP: " + failure);
  pause();
  for (const std::string& object :
       {Subscriber::subscriptionName(name, name), objectName("CIM_IndicationHandlerCIMXML", name),
        objectName("CIM_IndicationFilter", name)}) {
    const Reply reply = subscriber.remove(object);
    if (reply.code() != 0) fail("DeleteInstance: " + reply.description());
  }
}

// The detector compares the list at the end of a pass with the one at the end of the next: an
// address that comes and goes between the two is never told, nor one that comes within a pass. So
// it changes between passes, and waits until it has been told.
void SoakTest::changeAddress(unsigned number) {
  const std::string address = "192.0.2." + std::to_string(2 + number % 200);
  {
    const std::lock_guard<OMC::Mutex> lock(OrvLatchedHealth::monitorState().latchedHealthMutex);
    setInterfaceAddress(address);
  }
  if (addresses_.sees(address)) {
    ++changes_;
  } else {
    fail("the change to " + address + " was not told");
  }
}

std::size_t SoakTest::latchedRecords() {
  return system_.broker()
      .enumerateInstances("root/cimv2", "Orvane_LatchedHealthState")
      .instances.size();
}

// One element after the other fails until it is latched, and recovers. Later they fail again, which
// adds no record.
void SoakTest::changeHealth(unsigned number) {
  const std::string& name = kHardwareClasses[number % kHardwareClasses.size()];
  const std::string id = "element" + std::to_string(number % kElements);
  scriptedHardware().set(name, {device(name, id, 25), device(name, "good", 5)});
  const unsigned expected = std::min(number + 1, kElements);
  const auto limit = std::chrono::steady_clock::now() + seconds(30);
  std::size_t records = latchedRecords();
  while (records < expected && std::chrono::steady_clock::now() < limit) {
    pause();
    records = latchedRecords();
  }
  if (records != expected) {
    fail(std::to_string(records) + " latched records instead of " + std::to_string(expected));
  }
  latched_ = expected;
  scriptedHardware().set(name, {device(name, id, 5), device(name, "good", 5)});
}

// Later the broker has no reason to call a factory while an actor does.
void SoakTest::loadEveryProvider() {
  for (const std::string& name : kClasses) {
    EXPECT_TRUE(system_.broker().enumerateInstanceNames("root/cimv2", name).ok()) << name;
  }
  EXPECT_TRUE(system_.broker().associatorNames(portPath(0)).ok());
  comeAndGo("Orvane_CIMHeartbeat");
}

void SoakTest::startActors() {
  for (unsigned client = 0; client < kClients; ++client) {
    actors_.add(
        [this, random = std::minstd_rand(client + 1)](unsigned) mutable { askSomething(random); });
  }
  for (unsigned i = 0; i < kGoodHttpClients; ++i) {
    actors_.add([this](unsigned number) { askOverHttp(number); });
  }
  for (unsigned i = 0; i < kBadHttpClients; ++i) {
    actors_.add([this](unsigned number) { misbehaveOverHttp(number); });
  }
  actors_.add([this](unsigned) { comeAndGo("Orvane_CIMHeartbeat"); });
  actors_.add([this](unsigned) { comeAndGo("Orvane_KernelIPChangedIndication"); });
  actors_.add([this](unsigned number) {
    subscribeOverHttp("soak" + std::to_string(number % 3), listener_.url());
  });
  actors_.add([this](unsigned number) { changeAddress(number); });
  actors_.add([this](unsigned number) { changeHealth(number); });
  actors_.add([this](unsigned number) {
    host_.setPorts(number % 9);
    pause();
  });
  actors_.add([this](unsigned) {
    system_.callFactories();
    pause();
  });
}

TEST_F(SoakTest, EverythingAtOnceLosesNothingAndLeavesNothing) {
  const auto watch = system_.broker().subscribe(
      filterOf("Orvane_KernelIPChangedIndication"),
      [this](const broker::Instance& indication) { addresses_.take(indication); });
  ASSERT_TRUE(watch.ok());
  ASSERT_EQ(latchedRecords(), 0U);  // and the monitors run
  loadEveryProvider();

  startActors();
  std::this_thread::sleep_for(duration() / 2);
  const std::size_t bytesBefore = mallinfo2().uordblks;
  std::this_thread::sleep_for(duration() - duration() / 2);
  const std::size_t bytesAfter = mallinfo2().uordblks;
  actors_.end();

  EXPECT_EQ(firstFailure(), "");
  EXPECT_EQ(addresses_.failure(), "");
  EXPECT_EQ(latchedRecords(), latched_);
  EXPECT_GT(changes_, 0U);
  EXPECT_GT(heartbeats_, 0U);
  constexpr std::size_t kNoise = 4U * 1024 * 1024;  // of requests under way
  EXPECT_LT(bytesAfter, bytesBefore + kNoise);
  std::printf(
      "%u answers, %u over HTTP, %u address changes, %u elements latched, %u heartbeats; "
      "%zu kB allocated after half of it, %zu kB at the end\n",
      answers_.load(), httpAnswers_.load(), changes_.load(), latched_.load(), heartbeats_.load(),
      bytesBefore / 1024, bytesAfter / 1024);

  EXPECT_TRUE(system_.broker().unsubscribe(watch.id).ok());
  system_.stop();
  EXPECT_EQ(broker::TestBroker::liveObjects(), 0U);
}

}  // namespace
}  // namespace orv::test
