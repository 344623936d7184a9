#include "framework/factories.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/provider_scope.h"

namespace {

/// How the test providers behave, and what was seen of them.
struct Script {
  bool constructorThrows = false;
  bool initializeThrows = false;
  CMPIrc initializeAnswers = CMPI_RC_OK;
  int constructed = 0;
  int initialized = 0;
  const void* baseAtInitialize = nullptr;
  const void* objectAtInitialize = nullptr;
  CMPIContext* contextAtInitialize = nullptr;
};
Script script;

class TestProvider : public CmpiInstanceMI, private CmpiAssociationMI, private CmpiIndicationMI {
 public:
  TestProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context),
        CmpiInstanceMI(mbp, context),
        CmpiAssociationMI(mbp, context),
        CmpiIndicationMI(mbp, context) {
    if (script.constructorThrows) throw std::runtime_error("no memory for it");
    ++script.constructed;
    CmpiString("a constructor may make broker objects");
  }

  CmpiStatus initialize(const CmpiContext& context) override {
    ++script.initialized;
    script.baseAtInitialize = getProviderBase();
    script.objectAtInitialize = getProviderBase()->getBaseMI();
    script.contextAtInitialize = context.getEnc();
    if (script.initializeThrows) throw std::runtime_error("not ready");
    return CmpiStatus(script.initializeAnswers, "answer of initialize");
  }

  CmpiStatus enumInstanceNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&) override {
    return CmpiStatus(CMPI_RC_ERR_FAILED, "instance side");
  }
  CmpiStatus referenceNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&, const char*,
                            const char*) override {
    return CmpiStatus(CMPI_RC_ERR_FAILED, "association side");
  }
  CmpiStatus enableIndications() override {
    return CmpiStatus(CMPI_RC_ERR_FAILED, "indication side");
  }
};

}  // namespace

ORV_PROVIDER_BASE(TestProvider);
ORV_INSTANCE_FACTORY(TestProvider, ::TestProvider)
ORV_ASSOCIATION_FACTORY(TestProvider, ::TestProvider)
ORV_INDICATION_FACTORY(TestProvider, ::TestProvider)

namespace {

constexpr char kStartLine[] = "--- _Create_InstanceMI() P10CmpiBaseMI\n";

class Factories : public testing::Test {
 protected:
  Factories() { script = Script(); }
  ~Factories() override {
    delete baseTestProvider.getBaseMI();
    baseTestProvider.setBaseMI(nullptr);
  }

  /// Counted since the test began.
  int useCount() const { return baseTestProvider.useCount() - useCountBefore_; }

  CMPIInstanceMI* instanceMI() {
    return TestProvider_Create_InstanceMI(scope_.scope().broker(), scope_.scope().context(),
                                          &status_);
  }
  CMPIAssociationMI* associationMI() {
    return TestProvider_Create_AssociationMI(scope_.scope().broker(), scope_.scope().context(),
                                             &status_);
  }
  CMPIIndicationMI* indicationMI() {
    return TestProvider_Create_IndicationMI(scope_.scope().broker(), scope_.scope().context(),
                                            &status_);
  }
  static std::string textOf(const CMPIStatus& status) {
    const char* text = CmpiStatus(status).msg();
    return text == nullptr ? "" : text;
  }

  orv::test::ProviderScope scope_;
  CMPIStatus status_{CMPI_RC_OK, nullptr};
  const int useCountBefore_ = baseTestProvider.useCount();
};

TEST_F(Factories, TablesCarryVersionsAndNames) {
  const CMPIInstanceMI* instance = instanceMI();
  EXPECT_EQ(instance->ft->ftVersion, 200);
  EXPECT_EQ(instance->ft->miVersion, 200);
  EXPECT_STREQ(instance->ft->miName, "instanceTestProvider");
  const CMPIAssociationMI* association = associationMI();
  EXPECT_EQ(association->ft->ftVersion, 200);
  EXPECT_EQ(association->ft->miVersion, 200);
  EXPECT_STREQ(association->ft->miName, "associationTestProvider");
  const CMPIIndicationMI* indication = indicationMI();
  EXPECT_EQ(indication->ft->ftVersion, 200);
  EXPECT_EQ(indication->ft->miVersion, 200);
  EXPECT_STREQ(indication->ft->miName, "indicationTestProvider");
}

TEST_F(Factories, KindsShareOneObjectInitialisedOnce) {
  const CMPIAssociationMI* association = associationMI();
  const CMPIInstanceMI* instance = instanceMI();
  const CMPIIndicationMI* indication = indicationMI();
  EXPECT_EQ(script.constructed, 1);
  EXPECT_EQ(script.initialized, 1);
  EXPECT_EQ(instance->hdl, association->hdl);
  EXPECT_EQ(instance->hdl, indication->hdl);
  EXPECT_EQ(instance->hdl, baseTestProvider.getBaseMI());
  EXPECT_EQ(useCount(), 3);
}

TEST_F(Factories, RecordsAreStaticAndOneForEachFactory) {
  EXPECT_EQ(instanceMI(), instanceMI());
  EXPECT_EQ(associationMI(), associationMI());
  EXPECT_NE(static_cast<void*>(instanceMI()), static_cast<void*>(associationMI()));
}

TEST_F(Factories, OnlyTheInstanceFactoryPrintsAndAtEveryCall) {
  testing::internal::CaptureStderr();
  associationMI();
  indicationMI();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  testing::internal::CaptureStderr();
  instanceMI();
  instanceMI();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(kStartLine) + kStartLine);
  EXPECT_EQ(useCount(), 4);
}

TEST_F(Factories, ObjectKnowsItsBaseBeforeItIsInitialisedAndIsStoredAfter) {
  instanceMI();
  EXPECT_EQ(script.baseAtInitialize, &baseTestProvider);
  EXPECT_EQ(script.objectAtInitialize, nullptr);
  EXPECT_NE(baseTestProvider.getBaseMI(), nullptr);
  EXPECT_EQ(script.contextAtInitialize, scope_.scope().context());
}

TEST_F(Factories, StatusOfInitializeIsDropped) {
  script.initializeAnswers = CMPI_RC_ERR_FAILED;
  const CMPIInstanceMI* instance = instanceMI();
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->hdl, baseTestProvider.getBaseMI());
  EXPECT_EQ(status_.rc, CMPI_RC_OK);
  EXPECT_EQ(status_.msg, nullptr);
  associationMI();
  EXPECT_EQ(script.initialized, 1);
}

TEST_F(Factories, ExceptionOfInitializeIsDroppedAndTheObjectKept) {
  script.initializeThrows = true;
  const CMPIInstanceMI* instance = instanceMI();
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->hdl, baseTestProvider.getBaseMI());
  instanceMI();
  EXPECT_EQ(script.initialized, 1);
  EXPECT_EQ(script.constructed, 1);
}

TEST_F(Factories, ExceptionOfAConstructorLeavesTheFactoryWithNothingStored) {
  script.constructorThrows = true;
  testing::internal::CaptureStderr();
  EXPECT_THROW(instanceMI(), std::runtime_error);
  EXPECT_THROW(associationMI(), std::runtime_error);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(baseTestProvider.getBaseMI(), nullptr);
  EXPECT_EQ(useCount(), 0);
  EXPECT_EQ(script.initialized, 0);

  script.constructorThrows = false;
  EXPECT_NE(instanceMI(), nullptr);
  EXPECT_EQ(script.constructed, 1);
  EXPECT_EQ(script.initialized, 1);
  EXPECT_EQ(useCount(), 1);
}

TEST_F(Factories, RecordsReachPublicAndPrivateInterfaces) {
  const CMPIContext* context = scope_.scope().context();
  orv::broker::RecordingResult result(scope_.scope());
  CMPIObjectPath* path = scope_.scope().make(orv::test::objectPath("T"));
  CMPIInstanceMI* instance = instanceMI();
  EXPECT_EQ(textOf(instance->ft->enumerateInstanceNames(instance, context, result.record(), path)),
            "instance side");
  CMPIAssociationMI* association = associationMI();
  EXPECT_EQ(textOf(association->ft->referenceNames(association, context, result.record(), path,
                                                   nullptr, nullptr)),
            "association side");
  CMPIIndicationMI* indication = indicationMI();
  EXPECT_EQ(textOf(indication->ft->enableIndications(indication, context)), "indication side");
}

}  // namespace
