#include <cstring>
#include <thread>

#include "broker/testing/test_broker.h"
#include "tests/broker/support/broker_fixture.h"

namespace orv::broker {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Lifecycle : public SampleBroker {
 protected:
  void load(const std::string& className) {
    EXPECT_TRUE(broker_->enumerateInstanceNames("root/test", className).ok());
  }
  static std::vector<std::string> providers(const std::vector<CleanupCall>& calls) {
    std::vector<std::string> out;
    for (const CleanupCall& call : calls) out.push_back(call.provider);
    return out;
  }
};

TEST_F(Lifecycle, AnIdleCheckAsksTheLastLoadedSectionOncePerKind) {
  start({makeSection("Test_FastDisk", "Sample", "ia"), makeSection("Test_SlowDisk", "Other", "i")});
  load("Test_FastDisk");
  load("Test_SlowDisk");
  library_.takeLog();
  library_.set("Sample.cleanup.instance", 51);
  const IdleOutcome outcome = broker_->idleCheck();
  EXPECT_TRUE(outcome.asked);
  EXPECT_THAT(providers(outcome.calls), ElementsAre("Other", "Sample"));
  EXPECT_TRUE(outcome.exits) << "the earlier section's 51 is never heard";
  EXPECT_EQ(library_.takeLog(),
            "Other cleanup instance 0 entries 0\nSample cleanup association 0 entries 0\n");
  load("Test_SlowDisk");
  EXPECT_THAT(library_.takeLog(), HasSubstr("Other factory instance"));
}

TEST_F(Lifecycle, DoNotUnloadIsAskedAgainAndNeverUnloadIsNot) {
  start({makeSection("Test_Disk", "Sample", "i")});
  load("Test_Disk");
  library_.set("Sample.cleanup.instance", 50);
  for (int i = 0; i < 2; ++i) {
    const IdleOutcome outcome = broker_->idleCheck();
    EXPECT_TRUE(outcome.asked);
    EXPECT_TRUE(outcome.asksAgain);
    EXPECT_FALSE(outcome.exits);
  }
  library_.set("Sample.cleanup.instance", 51);
  const IdleOutcome never = broker_->idleCheck();
  ASSERT_EQ(never.calls.size(), 1U);
  EXPECT_EQ(never.calls[0].answer, CMPI_RC_NEVER_UNLOAD);
  EXPECT_FALSE(never.asksAgain);
  EXPECT_FALSE(never.exits);
  EXPECT_FALSE(broker_->idleCheck().asked);
}

TEST_F(Lifecycle, UnloadNeverOnTheFirstServedSectionEndsTheIdleCheck) {
  RegistrationSection first = makeSection("Test_FastDisk", "Sample", "i");
  first.unloadNever = true;
  start({makeSection("Test_SlowDisk", "Other", "i"), first});
  load("Test_FastDisk");
  load("Test_SlowDisk");
  EXPECT_FALSE(broker_->idleCheck().asked);
  EXPECT_THAT(library_.takeLog(), testing::Not(HasSubstr("cleanup")));
}

TEST_F(Lifecycle, AnActiveFilterKeepsTheIdleCheckAway) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  EXPECT_FALSE(broker_->idleCheck().asked) << "nothing is loaded";
  const SubscribeResult result =
      broker_->subscribe({"SELECT * FROM Test_Alarm", "WQL", "root/test", ""}, nullptr);
  EXPECT_FALSE(broker_->idleCheck().asked);
  broker_->unsubscribe(result.id);
  EXPECT_TRUE(broker_->idleCheck().asked);
}

TEST_F(Lifecycle, ShutdownReachesTheLastLoadedSectionOfEachKind) {
  start({makeSection("Test_FastDisk", "Sample", "ia"), makeSection("Test_SlowDisk", "Other", "i"),
         makeSection("Test_Alarm", "Third", "n")});
  load("Test_FastDisk");
  load("Test_SlowDisk");
  broker_->subscribe({"SELECT * FROM Test_Alarm", "WQL", "root/test", ""}, nullptr);
  library_.takeLog();
  const ShutdownOutcome outcome = broker_->shutdown();
  EXPECT_THAT(providers(outcome.calls), ElementsAre("Third", "Other", "Sample"));
  EXPECT_EQ(library_.takeLog(),
            "Third disableIndications entries 0\n"
            "Third cleanup indication 1 entries 0\n"
            "Other cleanup instance 1 entries 0\n"
            "Sample cleanup association 1 entries 0\n");
  const TestResponse late = broker_->enumerateInstanceNames("root/test", "Test_Unserved");
  EXPECT_TRUE(late.ok()) << "nobody has to be asked";
  EXPECT_EQ(broker_->enumerateInstanceNames("root/test", "Test_FastDisk").rc, CMPI_RC_ERR_FAILED);
}

TEST_F(Lifecycle, ASecondWalkRunsTheSameCleanups) {
  start({makeSection("Test_Disk", "Sample", "ia")});
  load("Test_Disk");
  const ShutdownOutcome outcome = broker_->shutdown(true);
  EXPECT_EQ(outcome.calls.size(), 2U);
  EXPECT_EQ(outcome.secondCalls.size(), 2U);
}

TEST_F(Lifecycle, AnUpCallOnACleanupContextIsReported) {
  start({makeSection("Test_Disk", "Sample", "i")});
  load("Test_Disk");
  library_.set("cleanup.upcall", 1);
  const IdleOutcome outcome = broker_->idleCheck();
  ASSERT_EQ(outcome.calls.size(), 1U);
  EXPECT_EQ(outcome.calls[0].answer, CMPI_RC_ERR_INVALID_HANDLE);
  EXPECT_THAT(broker_->reports(), ElementsAre(Says("context of a cleanup")));
}

TEST_F(Lifecycle, ForgottenProvidersAreMadeAgain) {
  start({makeSection("Test_Disk", "Sample", "i")});
  load("Test_Disk");
  library_.takeLog();
  broker_->forgetProviders();
  load("Test_Disk");
  EXPECT_THAT(library_.takeLog(), HasSubstr("factory instance"));
}

TEST_F(Lifecycle, AThreadOfAProviderOutlivesItsBrokerAndFindsTheNext) {
  start({makeSection("Test_Disk", "Sample", "i")});
  load("Test_Disk");
  library_.call("sampleStartWorker");
  library_.awaitWorker(10);
  broker_->shutdown();
  broker_->forgetProviders();
  broker_.reset();
  library_.awaitWorker(10);
  start({makeSection("Test_Disk", "Sample", "i")});
  load("Test_Disk");
  library_.awaitWorker(10);
  library_.call("sampleStopWorker");
}

// Contexts.

class Contexts : public SampleBroker {
 protected:
  using Function = CMPIStatus (*)(CMPIContext*);

  static void* eighthWord(const CMPIContext* context) {
    void* word = nullptr;
    memcpy(&word, reinterpret_cast<const char*>(context->ft) + 7 * sizeof(void*), sizeof word);
    return word;
  }
  TestBroker& startWith(ContextTable table) { return start(makeOptions(), table); }
};

TEST_F(Contexts, HoldFlagsPrincipalAndSession) {
  Broker::Options options = makeOptions();
  options.principal = "someone";
  start(std::move(options));
  RequestScope scope(*broker_);
  const CMPIContext* context = scope.context();
  CMPIStatus rc{CMPI_RC_ERR_FAILED, nullptr};
  EXPECT_EQ(context->ft->getEntryCount(context, nullptr), 3U);
  EXPECT_EQ(RequestScope::copy(context->ft->getEntry(context, "CMPIInvocationFlags", &rc)),
            Value::ofUnsigned(CMPI_uint32, 0));
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  EXPECT_EQ(RequestScope::copy(context->ft->getEntry(context, "CMPIPrincipal", nullptr)),
            Value::ofString("someone"));
  CMPIString* name = nullptr;
  EXPECT_EQ(context->ft->getEntryAt(context, 2, &name, nullptr).type, CMPI_uint32);
  EXPECT_EQ(RequestScope::copy(name), "CMPISessionId");
}

TEST_F(Contexts, AMissingEntryIsNullWithARubbishValueAndStatusTwelve) {
  start(makeOptions());
  RequestScope scope(*broker_);
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  const CMPIData data = scope.context()->ft->getEntry(scope.context(), "Nothing", &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(data.type, CMPI_null);
  EXPECT_EQ(data.state, CMPI_nullValue);
  EXPECT_NE(data.value.uint64, 0U);
}

TEST_F(Contexts, EntriesAreAddedAndReplacedButContextsAreNotCloned) {
  start(makeOptions());
  RequestScope scope(*broker_);
  const CMPIContext* context = scope.context();
  const auto text = reinterpret_cast<const CMPIValue*>("text");
  EXPECT_EQ(context->ft->addEntry(context, "CMPIRole", text, CMPI_chars).rc, CMPI_RC_OK);
  EXPECT_EQ(context->ft->addEntry(context, "CMPIRole", text, CMPI_chars).rc, CMPI_RC_OK);
  EXPECT_EQ(context->ft->getEntryCount(context, nullptr), 4U);
  EXPECT_EQ(RequestScope::copy(context->ft->getEntry(context, "CMPIRole", nullptr)),
            Value::ofString("text"));
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  EXPECT_EQ(context->ft->clone(context, &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST_F(Contexts, TheEighthSlotFreesWhatTheThreadHasMadeSinceItsMark) {
  startWith(ContextTable::kEightSlots);
  const CMPIBroker* mb = Broker::cmpi();
  RequestScope scope(*broker_);
  CMPIContext* prepared = mb->bft->prepareAttachThread(mb, scope.context());
  std::thread([&] {
    mb->bft->attachThread(mb, prepared);
    mb->eft->newObjectPath(mb, "root/test", "Test_Disk", nullptr);
    CMPIGcStat* mark = mb->mft->mark(mb, nullptr);
    mb->eft->newString(mb, "inside", nullptr);
    const auto eighth = reinterpret_cast<Function>(eighthWord(prepared));
    EXPECT_EQ(eighth(prepared).rc, CMPI_RC_OK);
    EXPECT_EQ(TestBroker::liveObjectsOfThisThread(), 1U);
    EXPECT_EQ(mb->mft->release(mb, mark).rc, CMPI_RC_OK);
    EXPECT_EQ(eighth(prepared).rc, CMPI_RC_OK);
    EXPECT_EQ(TestBroker::liveObjectsOfThisThread(), 0U);
    mb->bft->detachThread(mb, prepared);
  }).join();
  EXPECT_EQ(broker_->contextReleaseCalls(), 2U);
  EXPECT_THAT(broker_->reports(), IsEmpty());
}

TEST_F(Contexts, WithoutAnEighthSlotThereIsDataOrNull) {
  startWith(ContextTable::kSevenSlotsNull);
  {
    RequestScope scope(*broker_);
    EXPECT_EQ(eighthWord(scope.context()), nullptr);
    const CMPIBroker* mb = Broker::cmpi();
    CMPIContext* prepared = mb->bft->prepareAttachThread(mb, scope.context());
    EXPECT_EQ(eighthWord(prepared), nullptr);
    mb->bft->detachThread(mb, prepared);
  }
  startWith(ContextTable::kSevenSlots);
  RequestScope scope(*broker_);
  EXPECT_NE(eighthWord(scope.context()), nullptr);
  EXPECT_EQ(*static_cast<const int*>(eighthWord(scope.context())), 1);
}

TEST_F(Contexts, APreparedContextLivesUntilItsThreadDetaches) {
  start(makeOptions());
  const CMPIBroker* mb = Broker::cmpi();
  CMPIContext* prepared = nullptr;
  {
    RequestScope scope(*broker_, "Keeper");
    prepared = mb->bft->prepareAttachThread(mb, scope.context());
  }
  EXPECT_EQ(prepared->ft->getEntryCount(prepared, nullptr), 3U);
  std::thread([&] {
    EXPECT_EQ(mb->bft->attachThread(mb, prepared).rc, CMPI_RC_OK);
    EXPECT_EQ(mb->mft->release(mb, nullptr).rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mb->bft->detachThread(mb, prepared).rc, CMPI_RC_OK);
    EXPECT_EQ(mb->bft->detachThread(mb, prepared).rc, CMPI_RC_ERR_INVALID_HANDLE);
    EXPECT_EQ(prepared->ft->getEntryCount(prepared, nullptr), 0U);
  }).join();
  const std::vector<Report> reports = broker_->reports();
  EXPECT_THAT(reports, ElementsAre(Says("provider Keeper: releases a null memory mark"),
                                   Says("its thread has detached"), Says("getEntryCount")));
}

TEST_F(Contexts, ARequestsContextDiesWithIt) {
  start(makeOptions());
  const CMPIContext* kept = nullptr;
  {
    RequestScope scope(*broker_);
    kept = scope.context();
  }
  const CMPIBroker* mb = Broker::cmpi();
  EXPECT_EQ(mb->bft->prepareAttachThread(mb, kept), nullptr);
  EXPECT_EQ(mb->bft->attachThread(mb, kept).rc, CMPI_RC_ERR_INVALID_HANDLE);
  EXPECT_THAT(broker_->reports(), ElementsAre(Says("prepareAttachThread"), Says("attachThread")));
}

TEST_F(Contexts, AttachingOrDetachingWithARequestsContextIsReported) {
  start(makeOptions());
  RequestScope scope(*broker_);
  const CMPIBroker* mb = Broker::cmpi();
  EXPECT_EQ(mb->bft->attachThread(mb, scope.context()).rc, CMPI_RC_OK);
  EXPECT_EQ(mb->bft->detachThread(mb, scope.context()).rc, CMPI_RC_ERR_FAILED);
  EXPECT_THAT(scope.reports(), ElementsAre(Says("prepareAttachThread did not make"),
                                           Says("frees the context of a request")));
}

TEST(Brokers, ThreadsThatNeverAttachedFindTheOneCreatedLast) {
  const CMPIBroker* mb = Broker::cmpi();
  const auto propertyCount = [mb] {
    CMPIObjectPath* path = mb->eft->newObjectPath(mb, "root/test", "Test_Disk", nullptr);
    CMPIInstance* made = mb->eft->newInstance(mb, path, nullptr);
    return made->ft->getPropertyCount(made, nullptr);
  };
  EXPECT_EQ(propertyCount(), 0U) << "no broker, no class";
  TestBroker first(makeOptions());
  EXPECT_EQ(propertyCount(), 4U);
  {
    TestBroker second(Broker::Options{});
    EXPECT_EQ(propertyCount(), 0U);
    RequestScope scope(first);
    EXPECT_EQ(propertyCount(), 4U);
  }
  EXPECT_EQ(propertyCount(), 4U);
}

}  // namespace
}  // namespace orv::broker
