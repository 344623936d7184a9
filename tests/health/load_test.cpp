// Many cycles, and many readers while cycles run.

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <thread>

#include "cmpi/cmpi_memory_mark.h"
#include "cmpi/cmpi_status.h"
#include "health/latched_health_association.h"
#include "health/latched_health_state.h"
#include "health/monitor_state.h"
#include "health/monitor_threads.h"
#include "tests/health/health_fixture.h"
#include "tests/health/test_period.h"
#include "tests/support/sanitized.h"
#include "tests/support/syslog_capture.h"

namespace orv::test {

namespace {

using broker::Instance;
using broker::RecordingResult;
using broker::RequestScope;
using broker::TestBroker;
using OrvLatchedHealth::monitorState;
using OrvLatchedHealth::OrvLatchedHealthState;

constexpr int kElements = 500;

/// Every tenth element is worse than OK.
void setFiveHundredElements() {
  const auto& classes = monitoredClasses();
  std::map<std::string, std::vector<ScriptedElement>> elements;
  for (int i = 0; i < kElements; ++i) {
    const std::string& name = classes[static_cast<std::size_t>(i) % classes.size()];
    const auto state = static_cast<std::uint16_t>(i % 10 == 0 ? 10 : 5);
    ScriptedElement element = device(name, std::to_string(i), state);
    if (name == "CIM_PhysicalMemory") {
      element.keys = {{"Tag", std::to_string(i)}, {"CreationClassName", name}};
    } else if (name == "Orvane_StoragePool") {
      element.keys = {{"InstanceID", std::to_string(i)}};
    }
    elements[name].push_back(element);
  }
  for (auto& [name, list] : elements) scriptedHardware().set(name, std::move(list));
}

/// Bytes in use on the heap; 0 where a sanitizer has a heap of its own.
std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return kSanitized ? 0 : info.uordblks + info.hblkhd;
}

/// 100,000 with ORV_LONG_TESTS set; that takes several minutes.
int cycles() {
  if (std::getenv("ORV_LONG_TESTS") != nullptr) return 100'000;
  return kSanitized ? 100 : 2'000;
}

class Load : public HealthTest {
 protected:
  void pollTimes(int count) {
    for (int i = 0; i < count; ++i) poll();
  }
};

TEST_F(Load, MemoryDoesNotGrowAfterTheFirstThousandCycles) {
  setFiveHundredElements();
  const int all = cycles();
  const int first = std::min(1'000, all / 2);
  pollTimes(first);
  ASSERT_EQ(store_.healthList().size(), kElements / 10u);
  const std::size_t heap = heapInUse();
  const std::size_t objects = TestBroker::liveObjects();
  pollTimes(all - first);
  std::printf("%d cycles over %d elements: heap %zu bytes after %d cycles, %zu at the end\n", all,
              kElements, heap, first, heapInUse());
  EXPECT_EQ(TestBroker::liveObjects(), objects);
  EXPECT_LE(heapInUse(), heap + 1024);
  EXPECT_EQ(store_.healthList().size(), kElements / 10u);
  EXPECT_TRUE(syslogLines().empty());
}

/// One client: asks for everything there is, again and again, and checks what it gets.
class Client {
 public:
  explicit Client(TestBroker& broker) : scope_(broker), provider_(manager(), context()) {}

  /// Asks once; the number of records seen.
  std::size_t ask() {
    const CmpiMemoryMark mark(manager());
    checkRollup();
    const std::vector<Instance> records = instances("Orvane_LatchedHealthState");
    std::set<std::string> events;
    for (const Instance& record : records) checkRecord(record, events);
    if (!records.empty()) checkAssociation(records.front().property("EventId")->text());
    return records.size();
  }

 private:
  CmpiBroker manager() const { return CmpiBroker(scope_.broker()); }
  CmpiContext context() const { return CmpiContext(scope_.context()); }

  std::vector<Instance> instances(const std::string& className) {
    RecordingResult sink(scope_);
    CmpiResult result(sink.record());
    EXPECT_EQ(provider_.enumInstances(context(), result, makePath(className, {}), nullptr).rc(),
              CMPI_RC_OK);
    return sink.instances();
  }

  void checkRollup() {
    const auto rollup = instances("Orvane_RollupHealthState");
    ASSERT_EQ(rollup.size(), 1u);
    EXPECT_LE(rollup[0].property("HealthState")->number(), 30u);
  }

  /// The writer gives an element DeviceID, state and time in step.
  static void checkRecord(const Instance& record, std::set<std::string>& events) {
    EXPECT_TRUE(events.insert(record.property("EventId")->text()).second) << "an event twice";
    EXPECT_EQ(record.property("LatchedNamespace")->text(), "root/cimv2");
    const auto state = record.property("HealthState")->number();
    EXPECT_TRUE(state >= 10 && state <= 30) << state;
    EXPECT_GT(record.property("Timestamp")->dateTime().microseconds, 0u);
  }

  void checkAssociation(const std::string& eventId) {
    OrvLatchedHealth::OrvLatchedHealthAssociation association(manager(), context());
    RecordingResult sink(scope_);
    CmpiResult result(sink.record());
    const CmpiStatus status = association.references(
        context(), result, makePath("Orvane_LatchedHealthState", {{"EventId", eventId.c_str()}}),
        nullptr, nullptr, nullptr);
    // Not found when the element has worsened meanwhile.
    ASSERT_TRUE(status.rc() == CMPI_RC_OK || status.rc() == CMPI_RC_ERR_NOT_FOUND);
    if (status.rc() != CMPI_RC_OK) return;
    ASSERT_EQ(sink.instances().size(), 1u);
    EXPECT_FALSE(sink.instances()[0].property("Dependent")->reference().keys.empty());
  }

  RequestScope scope_;
  OrvLatchedHealthState provider_;
};

TEST_F(Load, ThirtyTwoClientsReadWhileCyclesRun) {
  constexpr int kClients = 32;
  constexpr int kCycles = 50;
  setPeriodMilliseconds(1);
  std::atomic<int> generation{0};
  // Every poll of the sensors finds them a little worse, up to 30.
  scriptedHardware().onCall([&](const std::string& name) {
    if (name != "CIM_Sensor") return;
    const int state = std::min(30, 10 + generation++ / 4);
    std::vector<ScriptedElement> sensors;
    for (int i = 0; i < 20; ++i) {
      sensors.push_back(device(name, std::to_string(i), static_cast<std::uint16_t>(state)));
    }
    scriptedHardware().set(name, std::move(sensors));
  });
  OrvLatchedHealth::startMonitorThreads(binding(), context());
  std::atomic<std::size_t> recordsSeen{0};
  std::vector<std::thread> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.emplace_back([&] {
      Client client(broker_);
      while (generation < kCycles) recordsSeen += client.ask();
    });
  }
  for (std::thread& client : clients) client.join();
  OrvLatchedHealth::stopMonitorThreads();
  scriptedHardware().onCall(nullptr);
  EXPECT_GT(recordsSeen, 0u);
  std::printf("%d clients saw %zu records in %d cycles\n", kClients, recordsSeen.load(),
              generation.load());
}

}  // namespace

}  // namespace orv::test
