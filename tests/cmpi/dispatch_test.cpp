#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cmpi/cmpi_association_mi.h"
#include "cmpi/cmpi_dispatch.h"
#include "cmpi/cmpi_indication_mi.h"
#include "cmpi/cmpi_instance_mi.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::test::objectPath;

const char* textOrDash(const char* text) { return text == nullptr ? "-" : text; }

/// Every operation runs `body` with a line that tells which it was and what it got.
class AllKinds : public CmpiInstanceMI, private CmpiAssociationMI, private CmpiIndicationMI {
 public:
  AllKinds(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context),
        CmpiInstanceMI(mbp, context),
        CmpiAssociationMI(mbp, context),
        CmpiIndicationMI(mbp, context) {}

  std::function<CmpiStatus(const std::string&)> body;
  bool unloadable = true;

  CmpiStatus cleanup(const CmpiContext&, bool terminating) override {
    return body(terminating ? "cleanup terminating" : "cleanup");
  }
  bool isUnloadable() const override { return unloadable; }

  CmpiStatus enumInstanceNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&) override {
    return body("enumInstanceNames");
  }
  CmpiStatus enumInstances(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                           const char** properties) override {
    return body(std::string("enumInstances ") + properties[0]);
  }
  CmpiStatus getInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                         const char** properties) override {
    return body(std::string("getInstance ") + properties[0]);
  }
  CmpiStatus createInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                            const CmpiInstance& instance) override {
    return body(std::string("createInstance ") + instance.getObjectPath().getClassName().charPtr());
  }
  CmpiStatus setInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                         const CmpiInstance&, const char** properties) override {
    return body(std::string("setInstance ") + properties[0]);
  }
  CmpiStatus deleteInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&) override {
    return body("deleteInstance");
  }
  CmpiStatus execQuery(const CmpiContext&, CmpiResult&, const CmpiObjectPath&, const char* language,
                       const char* query) override {
    return body(std::string("execQuery ") + language + " " + query);
  }
  CmpiStatus associators(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                         const char* assocClass, const char* resultClass, const char* role,
                         const char* resultRole, const char** properties) override {
    return body(std::string("associators ") + textOrDash(assocClass) + textOrDash(resultClass) +
                textOrDash(role) + textOrDash(resultRole) + properties[0]);
  }
  CmpiStatus associatorNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                             const char* assocClass, const char* resultClass, const char* role,
                             const char* resultRole) override {
    return body(std::string("associatorNames ") + textOrDash(assocClass) + textOrDash(resultClass) +
                textOrDash(role) + textOrDash(resultRole));
  }
  CmpiStatus references(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                        const char* resultClass, const char* role,
                        const char** properties) override {
    return body(std::string("references ") + textOrDash(resultClass) + textOrDash(role) +
                properties[0]);
  }
  CmpiStatus referenceNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                            const char* resultClass, const char* role) override {
    return body(std::string("referenceNames ") + textOrDash(resultClass) + textOrDash(role));
  }
  CmpiStatus authorizeFilter(const CmpiContext&, const CmpiSelectExp&, const char* className,
                             const CmpiObjectPath&, const char* owner) override {
    return body(std::string("authorizeFilter ") + className + textOrDash(owner));
  }
  CmpiStatus mustPoll(const CmpiContext&, const CmpiSelectExp&, const char* className,
                      const CmpiObjectPath&) override {
    return body(std::string("mustPoll ") + className);
  }
  CmpiStatus activateFilter(const CmpiContext&, const CmpiSelectExp&, const char* className,
                            const CmpiObjectPath&, CmpiBoolean first) override {
    return body(std::string("activateFilter ") + className + std::to_string(first));
  }
  CmpiStatus deActivateFilter(const CmpiContext&, const CmpiSelectExp&, const char* className,
                              const CmpiObjectPath&, CmpiBoolean last) override {
    return body(std::string("deActivateFilter ") + className + std::to_string(last));
  }
  CmpiStatus enableIndications() override { return body("enableIndications"); }
  CmpiStatus disableIndications() override { return body("disableIndications"); }
};

/// Replaces nothing.
class Defaults : public CmpiInstanceMI, public CmpiAssociationMI, public CmpiIndicationMI {
 public:
  Defaults(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context),
        CmpiInstanceMI(mbp, context),
        CmpiAssociationMI(mbp, context),
        CmpiIndicationMI(mbp, context) {}
};

class InstanceOnly : public CmpiInstanceMI {
 public:
  InstanceOnly(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}
};

class Dispatch : public testing::Test {
 protected:
  using Slots = std::vector<std::pair<std::string, CMPIStatus>>;

  /// Calls every slot of the three tables on one provider object, as an object manager does.
  Slots callEverySlot(CmpiBaseMI* provider) {
    CMPIInstanceMIFT instanceTable = CmpiInstanceMI::functionTable("instanceTest");
    CMPIAssociationMIFT associationTable = CmpiAssociationMI::functionTable("associationTest");
    CMPIIndicationMIFT indicationTable = CmpiIndicationMI::functionTable("indicationTest");
    CMPIInstanceMI instanceMI{provider, &instanceTable};
    CMPIAssociationMI associationMI{provider, &associationTable};
    CMPIIndicationMI indicationMI{provider, &indicationTable};
    orv::broker::RecordingResult record(scope_.scope());
    const CMPIContext* context = scope_.scope().context();
    const CMPIResult* result = record.record();
    CMPIObjectPath* path = scope_.scope().make(objectPath("Orvane_EthernetPort"));
    const CmpiInstance handle{CmpiObjectPath(path)};
    const CMPIInstance* instance = handle.getEnc();
    const CMPISelectExp* filter = nullptr;
    const char* list[] = {"P", nullptr};
    const auto& i = instanceTable;
    const auto& a = associationTable;
    const auto& e = indicationTable;
    return {
        {"cleanup", i.cleanup(&instanceMI, context, 0)},
        {"cleanup terminating", a.cleanup(&associationMI, context, 1)},
        {"cleanup terminating", e.cleanup(&indicationMI, context, 1)},
        {"enumInstanceNames", i.enumerateInstanceNames(&instanceMI, context, result, path)},
        {"enumInstances P", i.enumerateInstances(&instanceMI, context, result, path, list)},
        {"getInstance P", i.getInstance(&instanceMI, context, result, path, list)},
        {"createInstance Orvane_EthernetPort",
         i.createInstance(&instanceMI, context, result, path, instance)},
        {"setInstance P", i.modifyInstance(&instanceMI, context, result, path, instance, list)},
        {"deleteInstance", i.deleteInstance(&instanceMI, context, result, path)},
        {"execQuery L Q", i.execQuery(&instanceMI, context, result, path, "Q", "L")},
        {"associators acrdP",
         a.associators(&associationMI, context, result, path, "a", "c", "r", "d", list)},
        {"associatorNames -crd",
         a.associatorNames(&associationMI, context, result, path, nullptr, "c", "r", "d")},
        {"references c-P", a.references(&associationMI, context, result, path, "c", nullptr, list)},
        {"referenceNames cr", a.referenceNames(&associationMI, context, result, path, "c", "r")},
        {"authorizeFilter c-",
         e.authorizeFilter(&indicationMI, context, filter, "c", path, nullptr)},
        {"mustPoll c", e.mustPoll(&indicationMI, context, filter, "c", path)},
        {"activateFilter c1", e.activateFilter(&indicationMI, context, filter, "c", path, 1)},
        {"deActivateFilter c0", e.deActivateFilter(&indicationMI, context, filter, "c", path, 0)},
        {"enableIndications", e.enableIndications(&indicationMI, context)},
        {"disableIndications", e.disableIndications(&indicationMI, context)},
    };
  }
  static std::string textOf(const CMPIStatus& status) {
    const char* text = CmpiStatus(status).msg();
    return text == nullptr ? "" : text;
  }
  CMPIStatus cleanup(CmpiBaseMI& provider, bool terminating) {
    return CmpiBaseMI::driveBaseCleanup(&provider, scope_.scope().context(), terminating ? 1 : 0);
  }

  orv::test::ProviderScope scope_;
  std::unique_ptr<AllKinds> provider_ = scope_.make<AllKinds>();
};

TEST_F(Dispatch, EverySlotReachesItsOperationWithItsArguments) {
  provider_->body = [](const std::string& line) {
    return CmpiStatus(CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, line.c_str());
  };
  for (const auto& [line, status] : callEverySlot(provider_.get())) {
    EXPECT_EQ(status.rc, CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED) << line;
    EXPECT_EQ(textOf(status), line);
  }
}

TEST_F(Dispatch, ThrownStatusIsTheAnswer) {
  provider_->body = [](const std::string& line) -> CmpiStatus {
    throw CmpiStatus(CMPI_RC_ERR_ACCESS_DENIED, line.c_str());
  };
  for (const auto& [line, status] : callEverySlot(provider_.get())) {
    EXPECT_EQ(status.rc, CMPI_RC_ERR_ACCESS_DENIED) << line;
    EXPECT_EQ(textOf(status), line);
  }
}

TEST_F(Dispatch, OtherExceptionsAreStatusOneWithTheirText) {
  provider_->body = [](const std::string& line) -> CmpiStatus { throw std::runtime_error(line); };
  for (const auto& [line, status] : callEverySlot(provider_.get())) {
    EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED) << line;
    EXPECT_EQ(textOf(status), line);
  }
}

TEST_F(Dispatch, ThrownThingsOfNoKnownTypeAreStatusOne) {
  provider_->body = [](const std::string&) -> CmpiStatus { throw 5; };
  for (const auto& [line, status] : callEverySlot(provider_.get())) {
    EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED) << line;
  }
}

TEST_F(Dispatch, ExceptionWhoseTextCannotBeMadeIsStatusOneWithoutText) {
  provider_->body = [](const std::string&) -> CmpiStatus { throw std::bad_alloc(); };
  orv::broker::Fault fault;
  fault.slot = "eft.newString";
  scope_.embeddedBroker().inject(fault);
  const CMPIStatus status = cleanup(*provider_, true);
  EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(status.msg, nullptr);
}

TEST_F(Dispatch, OperationsThatAreNotReplacedAreNotSupported) {
  const auto defaults = scope_.make<Defaults>();
  for (const auto& [line, status] : callEverySlot(defaults.get())) {
    const bool isCleanup = line.rfind("cleanup", 0) == 0;
    EXPECT_EQ(status.rc, isCleanup ? CMPI_RC_OK : CMPI_RC_ERR_NOT_SUPPORTED) << line;
    EXPECT_EQ(status.msg, nullptr) << line;
  }
  EXPECT_EQ(defaults->initialize(scope_.context()).rc(), CMPI_RC_OK);
  EXPECT_TRUE(defaults->isUnloadable());
}

TEST_F(Dispatch, InterfaceThatAProviderLacksIsNotSupported) {
  const auto instanceOnly = scope_.make<InstanceOnly>();
  for (const auto& [line, status] : callEverySlot(instanceOnly.get())) {
    const bool isCleanup = line.rfind("cleanup", 0) == 0;
    EXPECT_EQ(status.rc, isCleanup ? CMPI_RC_OK : CMPI_RC_ERR_NOT_SUPPORTED) << line;
  }
}

TEST_F(Dispatch, RecordWithoutAnObjectIsNotSupported) {
  for (const auto& [line, status] : callEverySlot(nullptr)) {
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED) << line;
  }
}

TEST_F(Dispatch, TablesCarryVersionsAndName) {
  const CMPIInstanceMIFT instance = CmpiInstanceMI::functionTable("a");
  EXPECT_EQ(instance.ftVersion, 200);
  EXPECT_EQ(instance.miVersion, 200);
  EXPECT_STREQ(instance.miName, "a");
  const CMPIAssociationMIFT association = CmpiAssociationMI::functionTable("b");
  EXPECT_EQ(association.ftVersion, 200);
  EXPECT_EQ(association.miVersion, 200);
  EXPECT_STREQ(association.miName, "b");
  const CMPIIndicationMIFT indication = CmpiIndicationMI::functionTable("c");
  EXPECT_EQ(indication.ftVersion, 200);
  EXPECT_EQ(indication.miVersion, 200);
  EXPECT_STREQ(indication.miName, "c");
}

// ---- cleanup

TEST_F(Dispatch, CleanupsStatusIsTheAnswer) {
  for (const CMPIrc rc : {CMPI_RC_OK, CMPI_RC_DO_NOT_UNLOAD, CMPI_RC_NEVER_UNLOAD}) {
    provider_->body = [rc](const std::string&) { return CmpiStatus(rc); };
    EXPECT_EQ(cleanup(*provider_, false).rc, rc);
    EXPECT_EQ(cleanup(*provider_, true).rc, rc);
  }
}

TEST_F(Dispatch, TerminatingCleanupIsCalledWhateverIsUnloadableOrTheUseCountSay) {
  CmpiProviderBase base;
  provider_->setProviderBase(&base);
  provider_->unloadable = false;
  base.incUseCount();
  base.incUseCount();
  std::vector<std::string> calls;
  provider_->body = [&](const std::string& line) {
    calls.push_back(line);
    return CmpiStatus(CMPI_RC_OK);
  };
  EXPECT_EQ(cleanup(*provider_, true).rc, CMPI_RC_OK);
  EXPECT_EQ(cleanup(*provider_, true).rc, CMPI_RC_OK);
  EXPECT_EQ(calls.size(), 2u);
}

TEST_F(Dispatch, ObjectThatIsNotUnloadableStays) {
  provider_->unloadable = false;
  provider_->body = [](const std::string&) { return CmpiStatus(CMPI_RC_OK); };
  EXPECT_EQ(cleanup(*provider_, false).rc, CMPI_RC_NEVER_UNLOAD);
}

// ---- provider base and process-wide broker

TEST_F(Dispatch, ProviderBaseStartsEmptyAndCounts) {
  CmpiProviderBase base;
  EXPECT_EQ(base.getBaseMI(), nullptr);
  EXPECT_EQ(base.useCount(), 0);
  base.incUseCount();
  base.incUseCount();
  EXPECT_EQ(base.useCount(), 2);
  base.setBaseMI(provider_.get());
  EXPECT_EQ(base.getBaseMI(), provider_.get());
}

TEST_F(Dispatch, ProviderBaseOfAnObjectMakesItsBrokerTheProcessWideOne) {
  CMPIBroker other = *scope_.scope().broker();
  int handle = 0;
  other.hdl = &handle;
  CmpiProviderBase::setBroker(&other);
  EXPECT_EQ(CmpiProviderBase::getBroker()->hdl, &handle);
  CmpiProviderBase base;
  provider_->setProviderBase(&base);
  EXPECT_EQ(provider_->getProviderBase(), &base);
  EXPECT_EQ(CmpiProviderBase::getBroker()->hdl, scope_.scope().broker()->hdl);
}

TEST_F(Dispatch, AllFiveMembersOfTheBrokerRecordAreCopied) {
  CMPIBroker record = *scope_.scope().broker();
  CmpiProviderBase::setBroker(&record);
  const CMPIBroker* copy = CmpiProviderBase::getBroker();
  EXPECT_NE(copy, &record);
  EXPECT_EQ(copy->hdl, record.hdl);
  EXPECT_EQ(copy->bft, record.bft);
  EXPECT_EQ(copy->eft, record.eft);
  EXPECT_EQ(copy->xft, record.xft);
  EXPECT_EQ(copy->mft, record.mft);
  CmpiProviderBase::setBroker(nullptr);
  EXPECT_EQ(CmpiProviderBase::getBroker(), copy);
}

}  // namespace
