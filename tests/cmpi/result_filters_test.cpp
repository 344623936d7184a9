#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cmpi/cmpi_instance_mi.h"
#include "cmpi/cmpi_result_filters.h"
#include "cmpi/cmpi_status.h"
#include "framework/factories.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::broker::Fault;
using orv::broker::RecordingResult;
using orv::broker::RegistrationSection;
using orv::broker::RequestScope;
using orv::broker::Value;
using orv::test::objectPath;
using testing::ElementsAre;
using testing::IsEmpty;

/// Answers getInstance of any object but "gone" with one instance.
class FetchedProvider : public CmpiInstanceMI {
 public:
  FetchedProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}
  CmpiStatus getInstance(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    if (CmpiString(path.getKey("InstanceID")).equals("gone")) {
      return CmpiStatus(CMPI_RC_ERR_NOT_FOUND, "gone");
    }
    CmpiInstance instance(path);
    instance.setPropertyFilter(properties);
    instance.setProperty("ElementName", "fetched");
    instance.setProperty("VersionString", "1");
    result.returnData(instance);
    result.returnDone();
    return CMPI_RC_OK;
  }
};

}  // namespace

ORV_PROVIDER_BASE(FetchedProvider);
ORV_INSTANCE_FACTORY(FetchedProvider, ::FetchedProvider)

namespace {

constexpr char kClass[] = "Orvane_EPDriverSoftwareIdentity";

RegistrationSection section() {
  RegistrationSection section;
  section.className = kClass;
  section.provider = "FetchedProvider";
  section.location = "test";
  section.instance = true;
  section.namespaces = {"root/cimv2"};
  return section;
}

class ResultFilters : public testing::Test {
 protected:
  CmpiInstance instanceNamed(const char* id) {
    return CmpiInstance(scope_.path(objectPath(kClass, {{"InstanceID", id}})));
  }
  template <typename Operation>
  static CMPIrc statusOf(Operation operation) {
    try {
      operation();
      return CMPI_RC_OK;
    } catch (const CmpiStatus& status) {
      return status.rc();
    }
  }

  orv::test::ProviderScope scope_{orv::test::projectSchema(),
                                  {{"FetchedProvider_Create_InstanceMI",
                                    reinterpret_cast<void*>(&FetchedProvider_Create_InstanceMI)}},
                                  {section()}};
  RecordingResult record_{scope_.scope()};
  CmpiResult inner_{record_.record()};
};

TEST_F(ResultFilters, InstanceBecomesItsPath) {
  CmpiResultInstanceToPathFilter filter(inner_);
  filter.returnData(instanceNamed("a"));
  EXPECT_THAT(record_.paths(), ElementsAre(objectPath(kClass, {{"InstanceID", "a"}})));
  EXPECT_THAT(record_.instances(), IsEmpty());
}

TEST_F(ResultFilters, PathPassesTheInstanceToPathFilter) {
  CmpiResultInstanceToPathFilter filter(inner_);
  filter.returnData(scope_.path(objectPath("T", {{"K", "v"}})));
  EXPECT_THAT(record_.paths(), ElementsAre(objectPath("T", {{"K", "v"}})));
}

TEST_F(ResultFilters, InstanceWithoutAPathIsThatStatus) {
  CmpiResultInstanceToPathFilter filter(inner_);
  const CmpiInstance unknown(scope_.path(objectPath("T_Unknown")));
  EXPECT_EQ(statusOf([&] { filter.returnData(unknown); }), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_THAT(record_.paths(), IsEmpty());
}

TEST_F(ResultFilters, PathBecomesTheInstanceThatTheBrokerHas) {
  const char* properties[] = {"ElementName", nullptr};
  CmpiResultPathToInstanceFilter filter(inner_, scope_.context(), scope_.broker(), properties);
  filter.returnData(scope_.path(objectPath(kClass, {{"InstanceID", "a"}})));
  ASSERT_EQ(record_.instances().size(), 1u);
  EXPECT_EQ(record_.instances()[0].path, objectPath(kClass, {{"InstanceID", "a"}}));
  EXPECT_EQ(*record_.instances()[0].property("ElementName"), Value::ofString("fetched"));
  EXPECT_EQ(record_.instances()[0].property("VersionString"), nullptr);
}

TEST_F(ResultFilters, ObjectThatTheBrokerCannotFetchIsItsStatus) {
  CmpiResultPathToInstanceFilter filter(inner_, scope_.context(), scope_.broker(), nullptr);
  EXPECT_EQ(statusOf([&] {
              filter.returnData(scope_.path(objectPath(kClass, {{"InstanceID", "gone"}})));
            }),
            CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(statusOf([&] { filter.returnData(scope_.path(objectPath("T_Unknown"))); }),
            CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_THAT(record_.instances(), IsEmpty());
}

TEST_F(ResultFilters, InstancePassesThePathToInstanceFilter) {
  CmpiResultPathToInstanceFilter filter(inner_, scope_.context(), scope_.broker(), nullptr);
  filter.returnData(instanceNamed("a"));
  EXPECT_EQ(record_.instances().size(), 1u);
}

TEST_F(ResultFilters, PlainDataOfAnInstanceOrPathIsTreatedAsSuch) {
  CmpiResultInstanceToPathFilter toPath(inner_);
  toPath.returnData(CmpiData(instanceNamed("a")));
  toPath.returnData(CmpiData(scope_.path(objectPath("T"))));
  EXPECT_EQ(record_.paths().size(), 2u);
  CmpiResultPathToInstanceFilter toInstance(inner_, scope_.context(), scope_.broker(), nullptr);
  toInstance.returnData(CmpiData(scope_.path(objectPath(kClass, {{"InstanceID", "a"}}))));
  toInstance.returnData(CmpiData(instanceNamed("b")));
  EXPECT_EQ(record_.instances().size(), 2u);
}

TEST_F(ResultFilters, OtherDataPasses) {
  CmpiResultInstanceToPathFilter toPath(inner_);
  toPath.returnData(CmpiData(CMPIUint32{5}));
  CmpiResultPathToInstanceFilter toInstance(inner_, scope_.context(), scope_.broker(), nullptr);
  toInstance.returnData(CmpiData("text"));
  EXPECT_THAT(record_.data(),
              ElementsAre(Value::ofUnsigned(CMPI_uint32, 5), Value::ofString("text")));
}

TEST_F(ResultFilters, DonePasses) {
  CmpiResultInstanceToPathFilter(inner_).returnDone();
  EXPECT_EQ(record_.doneCount(), 1);
  CmpiResultPathToInstanceFilter(inner_, scope_.context(), scope_.broker(), nullptr).returnDone();
  EXPECT_EQ(record_.doneCount(), 2);
}

TEST_F(ResultFilters, RemainingSlotsAnswerWithoutEffect) {
  CmpiResultInstanceToPathFilter toPath(inner_);
  CmpiResultPathToInstanceFilter toInstance(inner_, scope_.context(), scope_.broker(), nullptr);
  for (CmpiResult* filter :
       {static_cast<CmpiResult*>(&toPath), static_cast<CmpiResult*>(&toInstance)}) {
    CMPIResult* enc = filter->getEnc();
    EXPECT_EQ(enc->ft->ftVersion, 200);
    CMPIStatus status{CMPI_RC_OK, nullptr};
    EXPECT_EQ(enc->ft->clone(enc, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(enc->ft->clone(enc, nullptr), nullptr);
    EXPECT_EQ(enc->ft->returnError(enc, nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(enc->ft->release(enc).rc, CMPI_RC_OK);
    filter->returnDone();  // still usable
  }
  EXPECT_EQ(record_.doneCount(), 2);
}

TEST_F(ResultFilters, FailureOfTheInnerResultIsPassedBack) {
  Fault fault;
  fault.slot = "result.returnObjectPath";
  fault.rc = CMPI_RC_ERR_ACCESS_DENIED;
  scope_.embeddedBroker().inject(fault);
  CmpiResultInstanceToPathFilter filter(inner_);
  EXPECT_EQ(statusOf([&] { filter.returnData(instanceNamed("a")); }), CMPI_RC_ERR_ACCESS_DENIED);
}

}  // namespace
