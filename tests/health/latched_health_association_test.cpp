#include "health/latched_health_association.h"

#include <cstring>
#include <type_traits>

#include "cmpi/cmpi_status.h"
#include "health/monitor_state.h"
#include "tests/health/health_fixture.h"

namespace orv::test {

namespace {

using broker::Fault;
using broker::Instance;
using broker::RecordingResult;
using OrvLatchedHealth::monitorState;
using OrvLatchedHealth::OrvLatchedHealthAssociation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Opens the hook.
class Association : public OrvLatchedHealthAssociation {
 public:
  Association(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context),
        OMC::SimpleAssociationMI(mbp, context),
        OrvLatchedHealthAssociation(mbp, context) {}
  using OrvLatchedHealthAssociation::doReferences;
};

struct AssociationAnswer {
  CMPIrc rc = CMPI_RC_OK;
  std::string message;
  std::vector<Instance> instances;
  int doneCount = 0;
};

class LatchedHealthAssociation : public HealthTest {
 protected:
  LatchedHealthAssociation() : provider_(binding(), context()) {}

  static void latch(const char* id, std::uint16_t state, const char* host = nullptr) {
    monitorState().store.latch(
        makePath("CIM_Sensor", {{"DeviceID", id}, {"SystemName", "h"}}, host), state,
        1'600'000'000);
  }

  AssociationAnswer references(const CmpiObjectPath& path, const char* text = nullptr) {
    RecordingResult sink(*scope_);
    CmpiResult result(sink.record());
    AssociationAnswer answer;
    try {
      const CmpiStatus status =
          provider_.doReferences(context(), result, path, text, text, text, text);
      answer = {status.rc(), status.msg() == nullptr ? "" : status.msg(), {}, 0};
    } catch (const CmpiStatus& status) {
      answer = {status.rc(), status.msg() == nullptr ? "" : status.msg(), {}, 0};
    }
    answer.instances = sink.instances();
    answer.doneCount = sink.doneCount();
    return answer;
  }

  static CmpiObjectPath event(const char* id, const char* className = "Orvane_LatchedHealthState") {
    return makePath(className, {{"EventId", id}});
  }

  Association provider_;
};

TEST_F(LatchedHealthAssociation, IsASimpleAssociationProviderThatStays) {
  EXPECT_TRUE((std::is_convertible_v<OrvLatchedHealthAssociation*, OMC::SimpleAssociationMI*>));
  EXPECT_FALSE(provider_.isUnloadable());
}

TEST_F(LatchedHealthAssociation, LeadsFromTheEventToItsElement) {
  for (int i = 0; i < 13; ++i) latch(std::to_string(i).c_str(), 10);
  const AssociationAnswer answer = references(event("12"));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.instances.size(), 1u);
  const Instance& association = answer.instances[0];
  EXPECT_EQ(association.path.className, "Orvane_LatchedHealthAssociation");
  EXPECT_EQ(association.path.nameSpace, "root/cimv2");
  EXPECT_THAT(association.setOrder, ElementsAre("Antecedent", "Dependent"));
  EXPECT_EQ(association.property("Antecedent")->reference().toText(),
            "root/cimv2:Orvane_LatchedHealthState.EventId=\"12\"");
  EXPECT_EQ(association.property("Dependent")->reference().toText(),
            "root/cimv2:CIM_Sensor.DeviceID=\"12\",SystemName=\"h\"");
}

TEST_F(LatchedHealthAssociation, AntecedentIsThePathAsReceived) {
  latch("a", 10);
  const AssociationAnswer answer = references(event("0abc", "orvane_LATCHEDhealthstate"));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].property("Antecedent")->reference().toText(),
            "root/cimv2:orvane_LATCHEDhealthstate.EventId=\"0abc\"");
}

TEST_F(LatchedHealthAssociation, TheFourTextsAreIgnored) {
  latch("a", 10);
  for (const char* text : {static_cast<const char*>(nullptr), "", "CIM_Nonsense"}) {
    EXPECT_EQ(references(event("0"), text).instances.size(), 1u);
  }
}

TEST_F(LatchedHealthAssociation, ElementThatCannotBeCarriedIsLeftOut) {
  latch("a \"quoted\" sensor", 10);
  latch(std::string(4200, 's').c_str(), 10);
  for (const char* id : {"0", "1"}) {
    const AssociationAnswer answer = references(event(id));
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_THAT(answer.instances, IsEmpty());
    EXPECT_EQ(answer.doneCount, 1);
  }
}

TEST_F(LatchedHealthAssociation, SourceThatCannotBeCarriedIsAnInvalidParameter) {
  latch("a", 10);
  const AssociationAnswer answer = references(event("0\""));
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(answer.message,
            "Object path cannot be used as a reference: key EventId has a quotation mark");
}

TEST_F(LatchedHealthAssociation, FromAnElementIsEmptyAndNotDone) {
  latch("a", 10);
  const AssociationAnswer answer = references(makePath("CIM_Sensor", {{"DeviceID", "a"}}));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.message, "");
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthAssociation, WithoutAnEventIdFails) {
  const AssociationAnswer answer = references(makePath("Orvane_LatchedHealthState", {}));
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(answer.message, "Invalid event id");
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthAssociation, AnUnknownEventIsNotFound) {
  latch("a", 10);
  const AssociationAnswer answer = references(event("1"));
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(answer.message, "Requested event id not found");
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthAssociation, AnElementThatWorsenedIsFoundUnderItsNewEventOnly) {
  latch("a", 10);
  latch("a", 20);
  EXPECT_EQ(references(event("0")).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(references(event("1")).instances.size(), 1u);
}

TEST_F(LatchedHealthAssociation, ARecordWhosePathCannotBeRebuiltIsNotFound) {
  latch("a", 10);
  const CmpiObjectPath request = event("0");
  broker_.inject({"path.addKey", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  const AssociationAnswer answer = references(request);
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(answer.message, "Requested event id not found");
}

TEST_F(LatchedHealthAssociation, TheStoreIsFreeAfterEveryAnswer) {
  latch("a", 10);
  for (const char* id : {"0", "99"}) {
    references(event(id));
    ASSERT_TRUE(monitorState().latchedHealthMutex.try_lock());
    monitorState().latchedHealthMutex.unlock();
  }
}

}  // namespace

}  // namespace orv::test
