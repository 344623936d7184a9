// Every allocation that a slot or a request makes fails in turn. No exception may reach a provider,
// which may be C, and nothing may be lost: the same calls work afterwards.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "broker/mof_reader.h"
#include "broker/testing/test_broker.h"

namespace {

// Allocations of the process until one fails; negative: none fails. Only one thread of it works at
// a time: the test's, or that of the request for which it waits.
std::atomic<long> untilFailure{-1};
std::atomic<bool> failed{false};
std::atomic<bool> once{false};  // the allocations after it succeed

}  // namespace

void* operator new(std::size_t size) {
  if (untilFailure == 0) {
    failed = true;
    if (once) untilFailure = -1;
    throw std::bad_alloc();
  }
  if (untilFailure > 0) --untilFailure;
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace orv::broker {
namespace {

Broker::Options options() {
  auto classes = std::make_shared<ClassRepository>();
  MofReader(*classes).readText(R"(
    class T_Disk { [Key] string Id; string Name = "a name that needs memory of its own";
                   uint16 Modes[]; datetime Since; };
    [Association] class T_Link { [Key] T_Disk REF From; [Key] T_Disk REF To; };
    [Indication] class T_Alert { string Text; };)",
                               "test.mof");
  Broker::Options made;
  made.namespaces["root/test"] = std::move(classes);
  return made;
}

class Allocations : public testing::Test {
 protected:
  Allocations() { everything(); }  // what is made once per process, and the caches, are made

  template <class Text>
  static const CMPIValue* chars(Text text) {
    return reinterpret_cast<const CMPIValue*>(text);
  }

  /// One round through the tables; counts the calls that answered something else than OK.
  void everything() {
    bad_ = 0;
    const CMPIBroker* mb = scope_.broker();
    CMPIStatus rc{CMPI_RC_OK, nullptr};
    const auto check = [&](const CMPIStatus& status) { bad_ += status.rc != CMPI_RC_OK ? 1 : 0; };
    CMPIGcStat* mark = mb->mft->mark(mb, &rc);
    if (mark == nullptr) {
      ++bad_;
      return;
    }
    useObjects(mb, check);
    check(mb->mft->release(mb, mark));
  }

  template <class Check>
  void useObjects(const CMPIBroker* mb, const Check& check) {
    CMPIStatus rc{CMPI_RC_OK, nullptr};
    CMPIObjectPath* path = mb->eft->newObjectPath(mb, "root/test", "T_Disk", &rc);
    check(rc);
    if (path == nullptr) return;
    check(
        path->ft->addKey(path, "Id", chars("an identifier of more than a few bytes"), CMPI_chars));
    path->ft->getKeyAt(path, 0, nullptr, &rc);
    check(rc);
    path->ft->toString(path, &rc);
    check(rc);
    CMPIInstance* disk = mb->eft->newInstance(mb, path, &rc);
    check(rc);
    CMPIArray* modes = mb->eft->newArray(mb, 3, CMPI_uint16, &rc);
    check(rc);
    CMPIDateTime* now = mb->eft->newDateTime(mb, &rc);
    check(rc);
    if (disk == nullptr || modes == nullptr || now == nullptr) return;
    CMPIValue value{};
    value.uint16 = 5;
    check(modes->ft->setElementAt(modes, 1, &value, CMPI_uint16));
    value.array = modes;
    check(disk->ft->setProperty(disk, "Modes", &value, CMPI_uint16A));
    value.dateTime = now;
    check(disk->ft->setProperty(disk, "Since", &value, CMPI_dateTime));
    disk->ft->getProperty(disk, "Name", &rc);
    check(rc);
    disk->ft->getObjectPath(disk, &rc);
    check(rc);
    CMPISelectExp* query = mb->eft->newSelectExp(
        mb, "SELECT Id FROM T_Disk WHERE Name = 'something long enough'", "WQL", nullptr, &rc);
    check(rc);
    if (query != nullptr) query->ft->evaluate(query, disk, &rc);
    check(rc);
    mb->bft->enumerateInstances(mb, scope_.context(), path, nullptr, &rc);
    check(rc);
    // What a clone slot or prepareAttachThread made belongs to the caller.
    CMPIInstance* clone = disk->ft->clone(disk, &rc);
    check(rc);
    if (clone != nullptr) clone->ft->release(clone);
    CMPIContext* prepared = mb->bft->prepareAttachThread(mb, scope_.context());
    if (prepared == nullptr) ++bad_;
    if (prepared != nullptr) check(mb->bft->detachThread(mb, prepared));
  }

  TestBroker broker_{options()};
  RequestScope scope_{broker_};
  int bad_ = 0;
};

TEST_F(Allocations, ThatFailAreStatuses) {
  everything();
  ASSERT_EQ(bad_, 0);
  const std::size_t before = TestBroker::liveObjects();
  long point = 0;
  for (; point < 10000; ++point) {
    failed = false;
    untilFailure = point;
    everything();
    untilFailure = -1;
    if (!failed) break;
    EXPECT_GT(bad_, 0) << "allocation " << point << " failed and nobody was told";
    EXPECT_EQ(TestBroker::liveObjects(), before) << point;
  }
  EXPECT_GT(point, 50) << "the round allocates";
  EXPECT_LT(point, 10000);
  everything();
  EXPECT_EQ(bad_, 0);
  EXPECT_THAT(broker_.reports(), testing::IsEmpty());
}

// ---- Requests to a linked provider ----

int activeFilters = 0;

CMPIStatus ok() { return {CMPI_RC_OK, nullptr}; }

CMPIInstanceMI* createInstanceMI(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static CMPIInstanceMIFT table{};
  table.enumerateInstanceNames = [](CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                                    const CMPIObjectPath*) { return ok(); };
  static CMPIInstanceMI mi{nullptr, &table};
  return &mi;
}

CMPIIndicationMI* createIndicationMI(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static CMPIIndicationMIFT table{};
  table.authorizeFilter = [](CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                             const char*, const CMPIObjectPath*, const char*) { return ok(); };
  table.mustPoll = [](CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*, const char*,
                      const CMPIObjectPath*) { return ok(); };
  table.activateFilter = [](CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                            const char*, const CMPIObjectPath*, CMPIBoolean) {
    ++activeFilters;
    return ok();
  };
  table.deActivateFilter = [](CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                              const char*, const CMPIObjectPath*, CMPIBoolean) {
    --activeFilters;
    return ok();
  };
  table.enableIndications = [](CMPIIndicationMI*, const CMPIContext*) { return ok(); };
  static CMPIIndicationMI mi{nullptr, &table};
  return &mi;
}

Broker::Options linkedOptions() {
  Broker::Options made = options();
  for (const char* className : {"T_Disk", "T_Alert"}) {
    RegistrationSection section;
    section.className = className;
    section.provider = "Linked";
    section.location = "linked";
    section.namespaces = {"root/test"};
    section.instance = section.className == "T_Disk";
    section.indication = !section.instance;
    made.registration.push_back(section);
  }
  made.linkedFactories["Linked_Create_InstanceMI"] = reinterpret_cast<void*>(createInstanceMI);
  made.linkedFactories["Linked_Create_IndicationMI"] = reinterpret_cast<void*>(createIndicationMI);
  return made;
}

SubscribeResult subscribe(Broker& broker) try {
  IndicationFilter filter;
  filter.query = "SELECT * FROM T_Alert";
  filter.sourceNamespace = "root/test";
  filter.name = "a filter with a name of more than a few bytes";
  return broker.subscribe(filter, [](const Instance&) {});
} catch (const std::bad_alloc&) {
  return {CMPI_RC_ERR_FAILED, std::nullopt, 0};
}

CMPIrc enumerate(Broker& broker) try {
  return broker.enumerateInstanceNames("root/test", "T_Disk").rc;
} catch (const std::bad_alloc&) {
  return CMPI_RC_ERR_FAILED;
}

/// Fails each single allocation of `request` in turn, and calls `check` after each. Returns their
/// number.
template <class Request, class Check>
long failEach(const Request& request, const Check& check) {
  for (long point = 0;; ++point) {
    failed = false;
    once = true;
    untilFailure = point;
    request();
    untilFailure = -1;
    once = false;
    if (!failed) return point;
    SCOPED_TRACE("allocation " + std::to_string(point));
    check();
    if (testing::Test::HasFailure()) return point;
  }
}

TEST(RequestAllocations, AProviderThatCouldNotBeLoadedIsLoadedByTheNextRequest) {
  auto broker = std::make_unique<Broker>(linkedOptions());
  const long points = failEach([&] { enumerate(*broker); },
                               [&] {
                                 EXPECT_EQ(enumerate(*broker), CMPI_RC_OK);
                                 broker = std::make_unique<Broker>(linkedOptions());
                               });
  EXPECT_GT(points, 10);
}

TEST(RequestAllocations, AFilterThatCouldNotBeActivatedIsNotKept) {
  Broker broker(linkedOptions());
  broker.unsubscribe(subscribe(broker).id);  // the provider is loaded
  ASSERT_EQ(activeFilters, 0);
  SubscribeResult result;
  const auto end = [&] {
    if (result.ok()) broker.unsubscribe(result.id);
    EXPECT_EQ(activeFilters, 0);
  };
  const long points = failEach([&] { result = subscribe(broker); },
                               [&] {
                                 end();
                                 result = subscribe(broker);
                                 EXPECT_TRUE(result.ok());
                                 EXPECT_EQ(activeFilters, 1);
                                 end();
                               });
  end();
  EXPECT_GT(points, 10);
}

}  // namespace
}  // namespace orv::broker
