#include <set>
#include <stdexcept>

#include "broker/testing/test_broker.h"
#include "tests/broker/support/broker_fixture.h"

namespace orv::broker {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Requests : public SampleBroker {
 protected:
  static std::vector<std::string> ids(const std::vector<ObjectPath>& paths) {
    std::vector<std::string> out;
    for (const ObjectPath& path : paths) out.push_back(path.key("Id")->text());
    return out;
  }
  static Request get(const ObjectPath& path) {
    Request request;
    request.operation = Operation::kGetInstance;
    request.path = path;
    return request;
  }
};

TEST_F(Requests, EnumerationReachesTheProviderAndItsInstancesComeBack) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Disk");
  EXPECT_EQ(response.rc, CMPI_RC_OK);
  ASSERT_EQ(response.instances.size(), 2U);
  EXPECT_EQ(response.instances[1].path, disk("Sample-Test_Disk-1"));
  EXPECT_EQ(*response.instances[1].property("Size"), Value::ofUnsigned(CMPI_uint64, 1));
  EXPECT_THAT(response.instances[1].setOrder, ElementsAre("Size", "Name"));
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
  EXPECT_EQ(library_.takeLog(),
            "Sample factory instance principal $$ rc 0 parameters none\n"
            "Sample enumerateInstances Test_Disk null\n");
}

TEST_F(Requests, UnknownNamespacesAndClassesAreRefusedBeforeAnyProviderIsAsked) {
  start({makeSection("Test_Disk", "Sample", "i")});
  TestResponse response = broker_->enumerateInstances("root/none", "Test_Disk");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(response.message, "Invalid namespace");
  response = broker_->enumerateInstanceNames("root/test", "Test_Nowhere");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(response.message, "Class not found");
  EXPECT_EQ(library_.takeLog(), "");
}

TEST_F(Requests, NamespacesCompareWithoutRegardToCaseAndAStarServesAll) {
  RegistrationSection section = makeSection("Test_Disk", "Sample", "i");
  section.namespaces = {"ROOT/Test"};
  start({section});
  EXPECT_EQ(broker_->enumerateInstances("root/test", "Test_Disk").instances.size(), 2U);
  section.namespaces = {"*"};
  start({section});
  EXPECT_EQ(broker_->enumerateInstances("root/test", "Test_Disk").instances.size(), 2U);
  section.namespaces.clear();
  start({section});
  EXPECT_THAT(broker_->enumerateInstances("root/test", "Test_Disk").instances, IsEmpty());
}

TEST_F(Requests, AClassWithoutAProviderIsEmptyAndItsInstancesAreNotFound) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse names = broker_->enumerateInstanceNames("root/test", "Test_Unserved");
  EXPECT_EQ(names.rc, CMPI_RC_OK);
  EXPECT_THAT(names.paths, IsEmpty());
  EXPECT_EQ(broker_->getInstance(disk("x", "Test_Unserved")).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Requests, AnEnumerationIsSentToSubclassesUnderTheirRegisteredNames) {
  start({makeSection("Test_FastDisk", "Other", "i"), makeSection("test_slowdisk", "Third", "i")});
  const TestResponse response = broker_->enumerateInstanceNames("root/test", "Test_Base");
  EXPECT_THAT(ids(response.paths), ElementsAre("Other-Test_FastDisk-0", "Other-Test_FastDisk-1",
                                               "Third-test_slowdisk-0", "Third-test_slowdisk-1"));
  EXPECT_EQ(response.doneCount, 2);
  ASSERT_EQ(response.answers.size(), 2U);
  EXPECT_EQ(response.answers[0].provider, "Other");
  EXPECT_EQ(response.answers[0].doneCount, 1);
  EXPECT_EQ(response.answers[0].pathCount, 2U);
}

TEST_F(Requests, AProviderOfLeafAndParentIsCalledForBoth) {
  start({makeSection("Test_Disk", "Sample", "i"), makeSection("Test_FastDisk", "Sample", "i")});
  const TestResponse response = broker_->enumerateInstanceNames("root/test", "Test_Disk");
  EXPECT_THAT(ids(response.paths), ElementsAre("Sample-Test_Disk-0", "Sample-Test_Disk-1",
                                               "Sample-Test_FastDisk-0", "Sample-Test_FastDisk-1"));
}

TEST_F(Requests, WithOnlyTheParentRegisteredALeafArrivesUnderItsOwnName) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse response = broker_->enumerateInstanceNames("root/test", "Test_FastDisk");
  EXPECT_THAT(ids(response.paths), ElementsAre("Sample-Test_FastDisk-0", "Sample-Test_FastDisk-1"));
}

TEST_F(Requests, GetInstanceGoesToTheNearestSectionWithoutSubstitution) {
  start({makeSection("Test_Base", "Third", "i"), makeSection("Test_FastDisk", "Other", "i"),
         makeSection("Test_Disk", "Sample", "i")});
  library_.takeLog();
  EXPECT_TRUE(broker_->getInstance(disk("a", "Test_UnservedFast")).ok());
  EXPECT_THAT(library_.takeLog(), HasSubstr("Other getInstance Test_UnservedFast a null"));
  EXPECT_TRUE(broker_->getInstance(disk("b")).ok());
  EXPECT_THAT(library_.takeLog(), HasSubstr("Sample getInstance Test_Disk b null"));
}

TEST_F(Requests, PropertyListsReachTheProviderAndAnEmptyOneAsNone) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse listed =
      broker_->getInstance(disk("a"), std::vector<std::string>{"Size", "Speed"});
  EXPECT_THAT(library_.takeLog(), HasSubstr("getInstance Test_Disk a Size;Speed;"));
  ASSERT_EQ(listed.instances.size(), 1U);
  EXPECT_EQ(listed.instances[0].properties.size(), 1U);
  const TestResponse empty = broker_->getInstance(disk("a"), std::vector<std::string>{});
  EXPECT_THAT(library_.takeLog(), HasSubstr("getInstance Test_Disk a null"));
  EXPECT_EQ(empty.instances[0].properties.size(), 4U);
}

TEST_F(Requests, GetInstanceAnsweredOkWithoutAnInstanceIsNotFound) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse response = broker_->getInstance(disk("gone"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_EQ(response.answers[0].rc, CMPI_RC_OK);
}

TEST_F(Requests, OfTwoInstancesTheFirstCounts) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse response = broker_->getInstance(disk("two"));
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_EQ(*response.instances[0].property("Size"), Value::ofUnsigned(CMPI_uint64, 7));
  EXPECT_EQ(response.discarded.instances.size(), 1U);
}

TEST_F(Requests, AFailureDiscardsWhatWasReturnedBefore) {
  start({makeSection("Test_Failing", "Sample", "i")});
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Failing");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(response.message, "broken on purpose");
  EXPECT_THAT(response.instances, IsEmpty());
  EXPECT_EQ(response.discarded.instances.size(), 1U);
  EXPECT_EQ(response.doneCount, 0);
}

TEST_F(Requests, OneFailureAmongSeveralProvidersFailsTheRequest) {
  start({makeSection("Test_Disk", "Sample", "i"), makeSection("Test_Failing", "Other", "i")});
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Base");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(response.discarded.instances.size(), 3U);
  EXPECT_EQ(response.answers.size(), 2U);
}

TEST_F(Requests, AStatusWithoutATextHasNoMessage) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse silent = broker_->getInstance(disk("silent"));
  EXPECT_EQ(silent.rc, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(silent.message, std::nullopt);
  EXPECT_EQ(broker_->getInstance(disk("error")).message, "not for you");
}

TEST_F(Requests, ADirectRequestHasNeitherRoutingNorSubstitution) {
  start({makeSection("Test_Disk", "Sample", "i")});
  const TestResponse response = broker_->requestTo("Sample", get(disk("gone", "Foreign_Class")));
  EXPECT_EQ(response.rc, CMPI_RC_OK);
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.instances, IsEmpty());
  EXPECT_THAT(library_.takeLog(), HasSubstr("Sample getInstance Foreign_Class gone"));
  EXPECT_EQ(broker_->requestTo("Nobody", get(disk("x"))).rc, CMPI_RC_ERR_FAILED);
}

TEST_F(Requests, ChangesArePassedThrough) {
  start({makeSection("Test_Disk", "Sample", "i")});
  Request request;
  request.path = disk("new");
  request.instance = Instance{disk("new"), {{"Name", Value::ofString("given")}}, {}};
  request.operation = Operation::kCreateInstance;
  const TestResponse created = broker_->request(request);
  EXPECT_THAT(created.paths, ElementsAre(disk("new")));
  EXPECT_THAT(library_.takeLog(), HasSubstr("createInstance Test_Disk given"));
  request.operation = Operation::kModifyInstance;
  request.properties = std::vector<std::string>{"Name"};
  EXPECT_TRUE(broker_->request(request).ok());
  EXPECT_THAT(library_.takeLog(), HasSubstr("modifyInstance Test_Disk Name;"));
  request.operation = Operation::kDeleteInstance;
  EXPECT_EQ(broker_->request(request).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_THAT(library_.takeLog(), HasSubstr("deleteInstance Test_Disk"));
}

TEST_F(Requests, ASlotThatTheProviderLacksIsReported) {
  start({makeSection("Test_Disk", "Sample", "i"), makeSection("Test_Hollow", "Hollow", "i")});
  Request query;
  query.operation = Operation::kExecQuery;
  query.path.nameSpace = "root/test";
  query.query = "SELECT * FROM Test_Disk";
  const TestResponse response = broker_->request(query);
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_THAT(response.reports, ElementsAre(Says("provider Sample, class Test_Disk: execQuery")));
  EXPECT_EQ(broker_->enumerateInstances("root/test", "Test_Hollow").rc, CMPI_RC_ERR_NOT_SUPPORTED);
  query.query = "DROP TABLE Test_Disk";
  EXPECT_EQ(broker_->request(query).rc, CMPI_RC_ERR_INVALID_QUERY);
}

TEST_F(Requests, AnInstanceReturnedAsDataIsLostInAnEnumerationButNotInGetInstance) {
  start({makeSection("Test_Disk", "Sample", "i")});
  library_.set("asData", 1);
  const TestResponse lost = broker_->enumerateInstances("root/test", "Test_Disk");
  EXPECT_TRUE(lost.ok());
  EXPECT_THAT(lost.instances, IsEmpty());
  EXPECT_THAT(lost.reports, ElementsAre(Says("the instance is lost"), Says("class Test_Disk")));
  const TestResponse kept = broker_->getInstance(disk("a"));
  EXPECT_EQ(kept.instances.size(), 1U);
  EXPECT_THAT(kept.reports, IsEmpty());
}

// What would take the object manager down is answered with a status and a report.

struct MisuseRow {
  const char* id;
  CMPIrc rc;
  const char* report;
};

TEST_F(Requests, MisuseIsReportedWithProviderAndClass) {
  start({makeSection("Test_Misuse", "Sample", "i")});
  for (const MisuseRow& row :
       {MisuseRow{"returnDataReference", CMPI_RC_ERR_FAILED, "returnData with a reference"},
        MisuseRow{"insideMark", CMPI_RC_ERR_FAILED, "inside mark and release"},
        MisuseRow{"openMark", CMPI_RC_ERR_FAILED, "inside mark and release"},
        MisuseRow{"lateContext", CMPI_RC_ERR_INVALID_HANDLE, "after its request has ended"},
        MisuseRow{"foreignMessage", CMPI_RC_ERR_FAILED, "did not make"},
        MisuseRow{"ownContext", CMPI_RC_ERR_FAILED, "context of its request"}}) {
    const std::string id = row.id;
    if (id == "lateContext") broker_->getInstance(disk("any", "Test_Misuse"));
    const TestResponse response = broker_->getInstance(disk(id, "Test_Misuse"));
    EXPECT_EQ(response.rc, row.rc) << id;
    ASSERT_GE(response.reports.size(), 1U) << id;
    EXPECT_THAT(response.reports[0].toText(), HasSubstr(row.report));
    EXPECT_THAT(response.reports[0].toText(), HasSubstr("provider Sample, class Test_Misuse"));
  }
  EXPECT_TRUE(broker_->requestTo("Sample", get(disk("nullTable", "Test_Misuse"))).ok());
}

TEST_F(Requests, AMarkThatIsLeftOpenIsReported) {
  start({makeSection("Test_Misuse", "Sample", "i")});
  EXPECT_THAT(broker_->getInstance(disk("openMark", "Test_Misuse")).reports,
              testing::Contains(Says("never released")));
}

TEST_F(Requests, ReportsReachTheSinkToo) {
  std::vector<std::string> seen;
  Broker::Options options = makeOptions({makeSection("Test_Misuse", "Sample", "i")});
  options.onReport = [&seen](const Report& report) { seen.push_back(report.toText()); };
  start(std::move(options));
  broker_->getInstance(disk("returnDataReference", "Test_Misuse"));
  EXPECT_THAT(seen, ElementsAre(HasSubstr("ends the process")));
  EXPECT_EQ(broker_->reports().size(), 1U);
  broker_->clearReports();
  EXPECT_THAT(broker_->reports(), IsEmpty());
}

TEST_F(Requests, LeaveNothingBehind) {
  const std::size_t atStart = TestBroker::liveObjects();
  start({makeSection("Test_Disk", "Sample", "i"), makeSection("Test_Caller", "Other", "i")});
  broker_->enumerateInstances("root/test", "Test_Caller");
  const std::size_t before = TestBroker::liveObjects();
  EXPECT_EQ(before, atStart + 1) << "the context that the last factory call prepared";
  for (int i = 0; i < 20; ++i) {
    broker_->enumerateInstances("root/test", "Test_Caller");
    broker_->getInstance(disk("a", "Test_Caller"));
  }
  EXPECT_EQ(TestBroker::liveObjects(), before);
}

// Loading.

TEST_F(Requests, FactoriesAreCalledOncePerSectionAndKind) {
  RegistrationSection disks = makeSection("Test_Disk", "Sample", "ian");
  disks.parameters = "some text";
  start({disks, makeSection("Test_FastDisk", "Sample", "i")});
  for (int i = 0; i < 3; ++i) broker_->enumerateInstanceNames("root/test", "Test_Disk");
  const std::string log = library_.takeLog();
  EXPECT_THAT(
      log, testing::StartsWith("Sample factory instance principal $$ rc 0 parameters some text\n"
                               "Sample factory association principal $$ rc 0 parameters some text\n"
                               "Sample factory indication principal $$ rc 0 parameters some text\n"
                               "Sample enumerateInstanceNames Test_Disk\n"
                               "Sample factory instance principal $$ rc 0 parameters none\n"
                               "Sample enumerateInstanceNames Test_FastDisk\n"
                               "Sample enumerateInstanceNames Test_Disk\n"));
}

TEST_F(Requests, ANullFromAFactoryFailsTheRequestAndIsTriedAgain) {
  start({makeSection("Test_Disk", "Sample", "i")});
  for (const char* how : {"Sample.factory.null", "Sample.factory.rc"}) {
    library_.set(how, 1);
    const TestResponse failed = broker_->enumerateInstances("root/test", "Test_Disk");
    EXPECT_EQ(failed.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(failed.message,
              "Error initializing provider Sample from sample for class Test_Disk.");
    library_.set(how, 0);
  }
  EXPECT_TRUE(broker_->enumerateInstances("root/test", "Test_Disk").ok());
}

TEST_F(Requests, AMissingFactoryIsAnErrorWithAReport) {
  Broker::Options options = makeOptions({makeSection("Test_Disk", "Sample", "i")});
  options.libraries["sample"] = ORV_TEST_EMPTY_LIBRARY;
  start(std::move(options));
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Disk");
  EXPECT_EQ(response.message,
            "Error initializing provider Sample from sample for class Test_Disk.");
  EXPECT_THAT(response.reports, ElementsAre(Says("has no factory Sample_Create_InstanceMI")));
}

TEST_F(Requests, ARecordWithoutATableIsAnErrorWithAReport) {
  start({makeSection("Test_Tableless", "Tableless", "i")});
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Tableless");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
  EXPECT_THAT(response.reports, ElementsAre(Says("without a function table")));
}

TEST_F(Requests, WhatIsNoLibraryCannotBeLoaded) {
  for (const char* file : {"/nonexistent/libsample.so", __FILE__, ORV_TEST_UNRESOLVED_LIBRARY}) {
    Broker::Options options = makeOptions({makeSection("Test_Disk", "Sample", "i")});
    options.libraryFile = file;
    start(std::move(options));
    const TestResponse response = broker_->enumerateInstances("root/test", "Test_Disk");
    EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
    ASSERT_TRUE(response.message);
    EXPECT_THAT(*response.message, testing::StartsWith(std::string("*** Failed to load ") + file));
  }
}

TEST_F(Requests, AKeyGivenTwiceIsRefusedBeforeAnyProviderIsAsked) {
  start({makeSection("Test_Disk", "Sample", "ia"), makeSection("Test_Link", "Sample", "a")});
  ObjectPath doubled = disk("7");
  doubled.keys.push_back({"iD", Value::ofUnsigned(CMPI_uint64, 7)});
  for (const TestResponse& response :
       {broker_->getInstance(doubled), broker_->associators(doubled)}) {
    EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(response.message, "Key iD is given twice");
    EXPECT_THAT(response.reports, ElementsAre(Says("a crash when it is read")));
  }
  EXPECT_EQ(library_.takeLog(), "");
}

TEST_F(Requests, AnUpCallOfAFactoryToItsOwnClassIsReportedInsteadOfADeadlock) {
  start({makeSection("Test_Looping", "Looping", "i")});
  const TestResponse response = broker_->enumerateInstanceNames("root/test", "Test_Looping");
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(library_.takeLog(), HasSubstr("Looping up-call 1\n"));
  EXPECT_THAT(response.reports, ElementsAre(Says("a deadlock")));
}

CMPIInstanceMI* throwingFactory(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  throw std::runtime_error("constructor");
}

TEST_F(Requests, LinkedFactoriesNeedNoLibraryAndTheirExceptionsAreReported) {
  Broker::Options options = makeOptions({makeSection("Test_Disk", "Linked", "i")});
  options.libraries.clear();
  options.linkedFactories["Linked_Create_InstanceMI"] = reinterpret_cast<void*>(throwingFactory);
  start(std::move(options));
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Disk");
  EXPECT_EQ(response.message,
            "Error initializing provider Linked from sample for class Test_Disk.");
  EXPECT_THAT(response.reports, ElementsAre(Says("an exception leaves the factory")));
}

CMPIStatus throwingOperation(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                             const CMPIObjectPath*, const char**) {
  throw 42;
}

CMPIInstanceMI* factoryOfThrower(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static CMPIInstanceMIFT table{};
  table.enumerateInstances = throwingOperation;
  static CMPIInstanceMI mi{nullptr, &table};
  return &mi;
}

TEST_F(Requests, AnExceptionOutOfAnOperationIsReportedAndStopsThere) {
  Broker::Options options = makeOptions({makeSection("Test_Disk", "Linked", "i")});
  options.linkedFactories["Linked_Create_InstanceMI"] = reinterpret_cast<void*>(factoryOfThrower);
  start(std::move(options));
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Disk");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
  EXPECT_THAT(response.reports, ElementsAre(Says("an exception leaves the provider")));
}

TEST_F(Requests, AGenericFactoryIsToldTheProvidersName) {
  Broker::Options options = makeOptions({makeSection("Test_Disk", "AnyName", "i")});
  options.libraries["sample"] = ORV_TEST_GENERIC_LIBRARY;
  start(std::move(options));
  EXPECT_EQ(broker_->enumerateInstances("root/test", "Test_Disk").rc, CMPI_RC_ERR_NOT_SUPPORTED)
      << "its table is empty";
  void* handle = dlopen(ORV_TEST_GENERIC_LIBRARY, RTLD_NOW);
  ASSERT_NE(handle, nullptr);
  const auto names = reinterpret_cast<const char* (*)()>(dlsym(handle, "genericNames"));
  EXPECT_STREQ(names(), "AnyName");
  dlclose(handle);
}

// Associations.

class Associations : public Requests {};

TEST_F(Associations, WithoutAnAssociationClassEveryAssociationProviderIsAskedOnce) {
  start({makeSection("Test_Link", "Sample", "a"), makeSection("Test_StrongLink", "Sample", "a"),
         makeSection("Test_StrongLink", "Other", "ia"), makeSection("Test_Disk", "Third", "i")});
  const TestResponse response = broker_->associatorNames(disk("d"));
  EXPECT_THAT(ids(response.paths), ElementsAre("Sample", "Other"));
  EXPECT_THAT(library_.takeLog(),
              HasSubstr("Sample associatorNames Test_Disk null null null null"));
}

TEST_F(Associations, WithAnAssociationClassItsBranchIsAsked) {
  start({makeSection("Test_Link", "Sample", "a"), makeSection("Test_StrongLink", "Other", "a")});
  AssociationFilter filter;
  filter.assocClass = "Test_StrongLink";
  EXPECT_THAT(ids(broker_->associatorNames(disk("d"), filter).paths), ElementsAre("Other"));
  filter.assocClass = "test_link";
  EXPECT_THAT(ids(broker_->associatorNames(disk("d"), filter).paths),
              ElementsAre("Sample", "Other"));
  filter.assocClass = "Test_Nowhere";
  EXPECT_EQ(broker_->associatorNames(disk("d"), filter).rc, CMPI_RC_ERR_INVALID_CLASS);
}

TEST_F(Associations, FiltersArePassedAsTheyAre) {
  start({makeSection("Test_Link", "Sample", "a")});
  AssociationFilter filter{"Test_Link", "", "FROM", "to"};
  const TestResponse found =
      broker_->associators(disk("d"), filter, std::vector<std::string>{"Size"});
  EXPECT_THAT(library_.takeLog(),
              HasSubstr("Sample associators Test_Disk Test_Link  FROM to Size;\n"));
  EXPECT_EQ(found.doneCount, 1);
  ASSERT_EQ(found.instances.size(), 1U);
  EXPECT_EQ(found.instances[0].properties.size(), 1U);
  filter = {std::nullopt, "Test_Link", "From", std::nullopt};
  broker_->references(disk("d"), filter);
  EXPECT_THAT(library_.takeLog(), HasSubstr("Sample references Test_Disk Test_Link From null\n"));
}

TEST_F(Associations, ReferencesComeBackWithTheirKeys) {
  start({makeSection("Test_Link", "Sample", "a")});
  const TestResponse found = broker_->referenceNames(disk("near"));
  ASSERT_EQ(found.paths.size(), 1U);
  EXPECT_EQ(found.paths[0].className, "Test_Link");
  EXPECT_EQ(found.paths[0].key("From")->reference(), disk("near"));
  EXPECT_EQ(found.paths[0].key("To")->reference(), disk("far"));
  const TestResponse instances = broker_->references(disk("near"));
  ASSERT_EQ(instances.instances.size(), 1U);
  EXPECT_EQ(instances.instances[0].property("To")->reference(), disk("far"));
}

TEST_F(Associations, ANullReferenceKeyIsReported) {
  start({makeSection("Test_Link", "Sample", "a")});
  library_.set("link.incomplete", 1);
  const TestResponse response = broker_->referenceNames(disk("near"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
  ASSERT_EQ(response.reports.size(), 1U);
  EXPECT_EQ(response.reports[0].toText(),
            "provider Sample, class Test_Link, property To: returned with a null or unreadable "
            "reference key: ends the HTTP process");
}

TEST_F(Associations, OneFailureFailsTheWholeRequest) {
  start({makeSection("Test_Link", "Sample", "a"), makeSection("Test_StrongLink", "Other", "a")});
  library_.set("associators", 6);
  const TestResponse response = broker_->associators(disk("d"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_THAT(response.instances, IsEmpty());
  EXPECT_EQ(response.discarded.instances.size(), 2U);
}

// Up-calls.

class UpCalls : public Requests {};

TEST_F(UpCalls, AreRoutedLikeRequests) {
  start({makeSection("Test_Caller", "Sample", "i"), makeSection("Test_Disk", "Other", "i"),
         makeSection("Test_FastDisk", "Third", "i")});
  const TestResponse names = broker_->enumerateInstanceNames("root/test", "Test_Caller");
  EXPECT_THAT(ids(names.paths), ElementsAre("Other-Test_Disk-0", "Other-Test_Disk-1",
                                            "Third-Test_FastDisk-0", "Third-Test_FastDisk-1"));
  EXPECT_EQ(names.doneCount, 1) << "the client sees the caller's own";
  EXPECT_EQ(broker_->enumerateInstances("root/test", "Test_Caller").instances.size(), 4U);
}

TEST_F(UpCalls, GetInstanceKeepsTheFailuresText) {
  start({makeSection("Test_Caller", "Sample", "i"), makeSection("Test_Disk", "Other", "i")});
  EXPECT_EQ(broker_->getInstance(disk("fine", "Test_Caller")).instances.size(), 1U);
  const TestResponse failed = broker_->getInstance(disk("error", "Test_Caller"));
  EXPECT_EQ(failed.rc, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(failed.message, "not for you");
}

TEST_F(UpCalls, AnsweredOkWithoutAnInstanceAreReported) {
  start({makeSection("Test_Caller", "Sample", "i"), makeSection("Test_Disk", "Other", "i")});
  const TestResponse response = broker_->getInstance(disk("gone", "Test_Caller"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_THAT(response.reports, ElementsAre(Says("provider Sample, class Test_Disk: an up-call")));
}

TEST_F(UpCalls, AFailedEnumerationLosesItsTextButNotTheInstances) {
  start({makeSection("Test_Caller", "Sample", "i"), makeSection("Test_Failing", "Other", "i")});
  library_.set("relay.failing", 1);
  const TestResponse response = broker_->enumerateInstances("root/test", "Test_Caller");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(response.message, std::nullopt);
  EXPECT_EQ(response.discarded.instances.size(), 1U);
}

class UpCallStatuses : public UpCalls {
 protected:
  CMPIStatus enumerate(const RequestScope& scope, const char* nameSpace, const char* className,
                       bool& empty) {
    const CMPIBroker* mb = Broker::cmpi();
    CMPIStatus rc{CMPI_RC_ERR_FAILED, nullptr};
    CMPIObjectPath* path = mb->eft->newObjectPath(mb, nameSpace, className, nullptr);
    CMPIEnumeration* found = mb->bft->enumerateInstances(mb, scope.context(), path, nullptr, &rc);
    empty = found == nullptr || found->ft->hasNext(found, nullptr) == 0;
    return rc;
  }
};

TEST_F(UpCallStatuses, TellUnknownNamespacesAndClasses) {
  start({makeSection("Test_Disk", "Sample", "i")});
  RequestScope scope(*broker_);
  bool empty = false;
  CMPIStatus rc = enumerate(scope, "root/test", "Test_Nowhere", empty);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(RequestScope::copy(rc.msg), "Class not found");
  rc = enumerate(scope, "/root/test", "Test_Disk", empty);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(RequestScope::copy(rc.msg), "Invalid namespace");
  rc = enumerate(scope, "root/test", "Test_Unserved", empty);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  EXPECT_TRUE(empty);
  rc = enumerate(scope, "root/test", "Test_Disk", empty);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  EXPECT_FALSE(empty);
}

TEST_F(UpCallStatuses, EverySlotThatABrokerHasCanBeMadeToFail) {
  start(makeOptions());
  const std::vector<std::string>& slots = faultSlots();
  EXPECT_EQ(slots.front(), "bft.prepareAttachThread");
  EXPECT_EQ(std::set<std::string>(slots.begin(), slots.end()).size(), slots.size());
  RequestScope scope(*broker_);
  CMPIObjectPath* path = scope.make(disk("a"));
  for (const char* slot : {"eft.newObjectPath", "path.getKeyAt", "subCond.getPredicate",
                           "context.addEntry", "mft.mark", "enumeration.clone"}) {
    EXPECT_THAT(slots, testing::Contains(slot));
  }
  for (const std::string& slot : slots) broker_->inject({slot, Fault::Effect::kStatus});
  EXPECT_EQ(path->ft->getKeyCount(path, nullptr), 0U);
  EXPECT_EQ(path->ft->clone(path, nullptr), nullptr);
  EXPECT_EQ(scope.broker()->mft->mark(scope.broker(), nullptr), nullptr);
  EXPECT_THROW(broker_->inject({"path.getColour"}), std::invalid_argument);
  broker_->clearFaults();
  EXPECT_EQ(path->ft->getKeyCount(path, nullptr), 1U);
}

TEST_F(UpCallStatuses, FaultsHitTheThreadsOfTheirOwnBrokerOnly) {
  start(makeOptions());
  TestBroker other(makeOptions());
  other.inject({"path.getKeyCount", Fault::Effect::kStatus});
  RequestScope scope(*broker_);
  CMPIObjectPath* path = scope.make(disk("a"));
  EXPECT_EQ(path->ft->getKeyCount(path, nullptr), 1U);
  const RequestScope inner(other);
  EXPECT_EQ(path->ft->getKeyCount(path, nullptr), 0U);
}

TEST_F(UpCallStatuses, FaultsAreInjectedIntoAnySlot) {
  start({makeSection("Test_Disk", "Sample", "i")});
  RequestScope scope(*broker_);
  const CMPIBroker* mb = Broker::cmpi();
  Fault fault;
  fault.slot = "bft.enumerateInstances";
  fault.rc = CMPI_RC_ERR_ACCESS_DENIED;
  fault.skip = 1;
  fault.times = 1;
  broker_->inject(fault);
  bool empty = false;
  EXPECT_EQ(enumerate(scope, "root/test", "Test_Disk", empty).rc, CMPI_RC_OK);
  EXPECT_EQ(enumerate(scope, "root/test", "Test_Disk", empty).rc, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(enumerate(scope, "root/test", "Test_Disk", empty).rc, CMPI_RC_OK);

  fault = {"path.getNameSpace", Fault::Effect::kNullText, CMPI_RC_OK, 0, -1};
  broker_->inject(fault);
  CMPIObjectPath* path = mb->eft->newObjectPath(mb, "root/test", "Test_Disk", nullptr);
  CMPIString* text = path->ft->getNameSpace(path, nullptr);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->ft->getCharPtr(text, nullptr), nullptr);
  broker_->inject({"path.getKey", Fault::Effect::kNullValue, CMPI_RC_OK, 0, -1});
  CMPIStatus rc{CMPI_RC_ERR_FAILED, nullptr};
  EXPECT_EQ(path->ft->getKey(path, "Id", &rc).state, CMPI_nullValue);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  broker_->inject({"eft.newInstance", Fault::Effect::kNullResult, CMPI_RC_OK, 0, -1});
  EXPECT_EQ(mb->eft->newInstance(mb, path, &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  broker_->clearFaults();
  EXPECT_NE(mb->eft->newInstance(mb, path, &rc), nullptr);
  EXPECT_EQ(RequestScope::copy(path->ft->getNameSpace(path, nullptr)), "root/test");
}

}  // namespace
}  // namespace orv::broker
