#include <gmock/gmock.h>

#include "tests/software/software_fixture.h"

namespace {

using orv::broker::AssociationFilter;
using orv::test::setBootConfig;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";

/// A host with a standby image.
class InstalledSoftware : public SoftwareTest {
 protected:
  static constexpr const char* kProvider = "OrvaneInstalledSoftwareIdentity";

  InstalledSoftware() { setBootConfig(kBootConfig); }

  static ObjectPath systemPath(const std::string& nameSpace = kNameSpace) {
    return orv::test::pathOf(
        kSystemClass, {{"Name", "host-7"}, {"CreationClassName", "OMC_UnitaryComputerSystem"}},
        nameSpace);
  }
  static ObjectPath associationPath(const std::string& softwareId,
                                    const std::string& systemNameSpace = "/root/cimv2") {
    ObjectPath path = orv::test::pathOf(kInstalledClass);
    path.keys.push_back({"System", Value::ofReference(systemPath(systemNameSpace))});
    path.keys.push_back({"InstalledSoftware", Value::ofReference(imagePath(softwareId))});
    return path;
  }
  static AssociationFilter filter(const char* role, const char* resultRole = nullptr,
                                  const char* resultClass = nullptr) {
    AssociationFilter result;
    result.assocClass = kInstalledClass;
    if (role != nullptr) result.role = role;
    if (resultRole != nullptr) result.resultRole = resultRole;
    if (resultClass != nullptr) result.resultClass = resultClass;
    return result;
  }

  Response ask(Operation operation, ObjectPath path, const AssociationFilter& filter = {}) {
    Request request = requestFor(operation, std::move(path));
    request.filter = filter;
    return broker_.requestTo(kProvider, request);
  }

  static void expectNothing(const Response& response) {
    EXPECT_TRUE(response.ok()) << response.rc;
    EXPECT_THAT(response.paths, IsEmpty());
    EXPECT_THAT(response.instances, IsEmpty());
    EXPECT_EQ(response.doneCount, 0);
  }
};

// ---- Instances ----

TEST_F(InstalledSoftware, NamesListTheRunningImageOnly) {
  const Response response = broker_.enumerateInstanceNames(kNameSpace, kInstalledClass);
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(response.paths, ElementsAre(associationPath(kRunningId)));
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
}

// Deliberate: with the leading slash.
TEST_F(InstalledSoftware, NamesHaveTheSystemInItsOwnNamespace) {
  const Response response = broker_.enumerateInstanceNames(kNameSpace, kInstalledClass);
  ASSERT_EQ(response.paths.size(), 1U);
  EXPECT_EQ(response.paths[0].key("System")->reference().nameSpace, "/root/cimv2");
  EXPECT_EQ(response.paths[0].key("InstalledSoftware")->reference().nameSpace, "root/cimv2");
}

TEST_F(InstalledSoftware, NamesCarryTheClassAsItWasAskedFor) {
  const Response response = ask(Operation::kEnumerateInstanceNames,
                                orv::test::pathOf("orvane_installedSOFTWAREidentity"));
  ASSERT_EQ(response.paths.size(), 1U);
  EXPECT_EQ(response.paths[0].className, "orvane_installedSOFTWAREidentity");
}

TEST_F(InstalledSoftware, NamesOfAnotherClassAreNone) {
  expectNothing(
      ask(Operation::kEnumerateInstanceNames, orv::test::pathOf("CIM_InstalledSoftwareIdentity")));
}

TEST_F(InstalledSoftware, InstancesOfAnotherClassAreNone) {
  expectNothing(
      ask(Operation::kEnumerateInstances, orv::test::pathOf("CIM_InstalledSoftwareIdentity")));
}

TEST_F(InstalledSoftware, InstancesFollowTheNames) {
  const Response response = broker_.enumerateInstances(kNameSpace, kInstalledClass);
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(response.reports, IsEmpty());
  EXPECT_EQ(response.doneCount, 1);
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_EQ(response.instances[0].path, associationPath(kRunningId));
  EXPECT_EQ(response.instances[0].property("System")->reference(), systemPath("/root/cimv2"));
  EXPECT_EQ(response.instances[0].property("InstalledSoftware")->reference(),
            imagePath(kRunningId));
}

TEST_F(InstalledSoftware, GetInstance) {
  const Response response = broker_.getInstance(associationPath(kRunningId));
  EXPECT_TRUE(response.ok());
  EXPECT_EQ(response.doneCount, 1);
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_THAT(response.instances[0].setOrder, ElementsAre("System", "InstalledSoftware"));
  EXPECT_EQ(response.instances[0].property("System")->reference(), systemPath("/root/cimv2"));
  EXPECT_EQ(response.instances[0].property("InstalledSoftware")->reference(),
            imagePath(kRunningId));
}

TEST_F(InstalledSoftware, GetInstanceDoesNotLookAtTheSystem) {
  ObjectPath path = associationPath(kRunningId);
  path.keys[0].value = Value::ofReference(orv::test::pathOf("CIM_Foo", {{"Name", "other"}}));
  const Response response = broker_.getInstance(path);
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_EQ(response.instances[0].property("System")->reference(), systemPath("/root/cimv2"));
  path.keys.erase(path.keys.begin());
  EXPECT_EQ(ask(Operation::kGetInstance, path).instances.size(), 1U);
}

TEST_F(InstalledSoftware, GetInstanceOfAnotherClassIsNothing) {
  ObjectPath path = associationPath(kRunningId);
  path.className = "CIM_InstalledSoftwareIdentity";
  expectNothing(ask(Operation::kGetInstance, path));
}

TEST_F(InstalledSoftware, GetInstanceOfOtherSoftwareIsNothing) {
  ObjectPath path = associationPath(kRunningId);
  path.keys[1].value =
      Value::ofReference(orv::test::pathOf("CIM_SoftwareIdentity", {{"InstanceID", kRunningId}}));
  expectNothing(ask(Operation::kGetInstance, path));
}

TEST_F(InstalledSoftware, GetInstanceWithoutReadableSoftwareIsNothing) {
  ObjectPath path = orv::test::pathOf(kInstalledClass);
  expectNothing(ask(Operation::kGetInstance, path));
  path.keys.push_back({"InstalledSoftware", Value::ofString(kRunningId)});
  expectNothing(ask(Operation::kGetInstance, path));
  path.keys[0].value = Value::ofNull(CMPI_ref);
  expectNothing(ask(Operation::kGetInstance, path));
}

TEST_F(InstalledSoftware, GetInstancePassesOnWhyTheImageCannotBeHad) {
  EXPECT_EQ(ask(Operation::kGetInstance, associationPath("nobody")).rc, CMPI_RC_ERR_NOT_FOUND);
  orv::broker::Fault fault;
  fault.slot = "bft.getInstance";
  fault.rc = CMPI_RC_ERR_ACCESS_DENIED;
  broker_.inject(fault);
  const Response response = ask(Operation::kGetInstance, associationPath(kRunningId));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(response.doneCount, 0);
}

TEST_F(InstalledSoftware, WithoutAnyImageNothingIsDone) {
  // The class has no provider here: the broker answers its names with none.
  Broker alone(orv::test::linkedProviders(
      {{"OrvaneInstalledSoftwareIdentity_Create_InstanceMI",
        orv::test::linkedFactory(&OrvaneInstalledSoftwareIdentity_Create_InstanceMI)},
       {"OrvaneInstalledSoftwareIdentity_Create_AssociationMI",
        orv::test::linkedFactory(&OrvaneInstalledSoftwareIdentity_Create_AssociationMI)}}));
  expectNothing(alone.enumerateInstanceNames(kNameSpace, kInstalledClass));
  expectNothing(alone.enumerateInstances(kNameSpace, kInstalledClass));
  expectNothing(alone.references(systemPath()));
}

TEST_F(InstalledSoftware, OtherInstanceOperationsAreNotSupported) {
  for (const Operation operation : {Operation::kCreateInstance, Operation::kModifyInstance,
                                    Operation::kDeleteInstance, Operation::kExecQuery}) {
    Request request = requestFor(operation, associationPath(kRunningId));
    request.instance = Instance{associationPath(kRunningId), {}, {}};
    request.query = "SELECT * FROM Orvane_InstalledSoftwareIdentity";
    EXPECT_EQ(broker_.requestTo(kProvider, request).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  }
}

// ---- From the system ----

TEST_F(InstalledSoftware, ReferencesOfTheSystemLeadToTheRunningImageOnly) {
  const Response response = broker_.references(systemPath());
  EXPECT_TRUE(response.ok());
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
  ASSERT_EQ(response.instances.size(), 1U);
  const Instance& instance = response.instances[0];
  EXPECT_EQ(instance.path.className, kInstalledClass);
  EXPECT_THAT(instance.setOrder, ElementsAre("System", "InstalledSoftware"));
  EXPECT_EQ(instance.property("System")->reference(), systemPath());
  EXPECT_EQ(instance.property("System")->reference().nameSpace, "root/cimv2");
  EXPECT_EQ(instance.property("InstalledSoftware")->reference(), imagePath(kRunningId));
}

TEST_F(InstalledSoftware, SystemIsReferredToAsItWasGiven) {
  const ObjectPath other =
      orv::test::pathOf(kSystemClass, {{"Name", "elsewhere"}, {"CreationClassName", "X"}});
  const Response response = broker_.references(other);
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_EQ(response.instances[0].property("System")->reference(), other);
}

TEST_F(InstalledSoftware, AssociatorsOfTheSystem) {
  const Response names = broker_.associatorNames(systemPath(), filter(nullptr));
  EXPECT_THAT(names.paths, ElementsAre(imagePath(kRunningId)));
  const Response instances = broker_.associators(systemPath(), filter(nullptr));
  EXPECT_TRUE(instances.ok());
  ASSERT_EQ(instances.instances.size(), 1U);
  EXPECT_EQ(instances.instances[0].property("VersionString")->text(), "5.1.0 build-1234");
}

struct FilterCase {
  AssociationFilter filter;
  bool found;
};

TEST_F(InstalledSoftware, FiltersFromTheSystem) {
  const FilterCase cases[] = {
      {filter("System"), true},
      {filter("sYSTEM"), true},
      {filter(""), true},
      {filter("InstalledSoftware"), false},
      {filter("Antecedent"), false},
      {filter(nullptr, "InstalledSoftware"), true},
      {filter(nullptr, "installedsoftware"), true},
      {filter(nullptr, ""), true},
      {filter(nullptr, "System"), false},
      {filter("System", "InstalledSoftware"), true},
      {filter(nullptr, nullptr, "Orvane_HypervisorSoftwareIdentity"), true},
      {filter(nullptr, nullptr, "CIM_SoftwareIdentity"), true},
      {filter(nullptr, nullptr, ""), true},
      {filter(nullptr, nullptr, "OMC_UnitaryComputerSystem"), false},
      {filter(nullptr, nullptr, "NoSuchClass"), false},
  };
  for (const FilterCase& test : cases) {
    const Response response = ask(Operation::kAssociatorNames, systemPath(), test.filter);
    EXPECT_TRUE(response.ok());
    EXPECT_EQ(response.paths.size(), test.found ? 1U : 0U)
        << test.filter.role.value_or("-") << " " << test.filter.resultRole.value_or("-") << " "
        << test.filter.resultClass.value_or("-");
    EXPECT_EQ(response.doneCount, test.found ? 1 : 0);
  }
}

// ---- From the software ----

TEST_F(InstalledSoftware, ReferencesOfTheRunningImageLeadToTheSystem) {
  const Response response = broker_.references(imagePath(kRunningId));
  EXPECT_TRUE(response.ok());
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_EQ(response.instances[0].path.className, kInstalledClass);
  EXPECT_EQ(response.instances[0].property("InstalledSoftware")->reference(),
            imagePath(kRunningId));
  EXPECT_EQ(response.instances[0].property("System")->reference(), systemPath());
  EXPECT_EQ(response.instances[0].property("System")->reference().nameSpace, "root/cimv2");
}

TEST_F(InstalledSoftware, AssociatorNamesOfTheRunningImage) {
  const Response response = broker_.associatorNames(imagePath(kRunningId), filter(nullptr));
  EXPECT_THAT(response.paths, ElementsAre(systemPath()));
}

TEST_F(InstalledSoftware, StandbyImageIsNotAssociated) {
  expectNothing(broker_.references(imagePath(kAlternateId)));
  expectNothing(broker_.associatorNames(imagePath(kAlternateId), filter(nullptr)));
  expectNothing(broker_.references(imagePath("Alt Boot Bank:")));
}

TEST_F(InstalledSoftware, StandbyPrefixIsComparedExactly) {
  EXPECT_EQ(broker_.references(imagePath("alt boot bank: x")).instances.size(), 1U);
  EXPECT_EQ(broker_.references(imagePath("Alt Boot Bank")).instances.size(), 1U);
  EXPECT_EQ(broker_.references(imagePath(" Alt Boot Bank: x")).instances.size(), 1U);
}

TEST_F(InstalledSoftware, FiltersFromTheSoftware) {
  const FilterCase cases[] = {
      {filter("InstalledSoftware"), true},
      {filter("INSTALLEDSOFTWARE"), true},
      {filter(""), true},
      {filter("System"), false},
      {filter("Antecedent"), false},
      {filter(nullptr, "System"), true},
      {filter(nullptr, "system"), true},
      {filter(nullptr, "InstalledSoftware"), false},
      {filter("InstalledSoftware", "System"), true},
      {filter(nullptr, nullptr, "OMC_UnitaryComputerSystem"), true},
      {filter(nullptr, nullptr, "CIM_System"), true},
      {filter(nullptr, nullptr, "CIM_SoftwareIdentity"), false},
      {filter(nullptr, nullptr, "NoSuchClass"), false},
  };
  for (const FilterCase& test : cases) {
    const Response response = ask(Operation::kAssociatorNames, imagePath(kRunningId), test.filter);
    EXPECT_TRUE(response.ok());
    EXPECT_EQ(response.paths.size(), test.found ? 1U : 0U)
        << test.filter.role.value_or("-") << " " << test.filter.resultRole.value_or("-") << " "
        << test.filter.resultClass.value_or("-");
    EXPECT_EQ(response.doneCount, test.found ? 1 : 0);
  }
}

// ---- What no reference carries ----

TEST_F(InstalledSoftware, SourceThatCannotBeCarriedIsAnInvalidParameter) {
  const ObjectPath system =
      orv::test::pathOf(kSystemClass, {{"Name", "a \"quoted\" name"}, {"CreationClassName", "X"}});
  for (const ObjectPath& source : {system, imagePath(std::string(4200, 'x'))}) {
    const Response response = ask(Operation::kReferences, source);
    EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_THAT(response.message.value_or(""), testing::HasSubstr("cannot be used as a reference"));
    EXPECT_THAT(response.instances, IsEmpty());
  }
}

TEST_F(InstalledSoftware, ImageThatCannotBeCarriedIsLeftOut) {
  setVersion(R"({"productName": "Say \"Ondi\"", "buildNumber": 1234})");
  for (const Response& response : {broker_.enumerateInstanceNames(kNameSpace, kInstalledClass),
                                   broker_.enumerateInstances(kNameSpace, kInstalledClass),
                                   broker_.references(systemPath())}) {
    EXPECT_TRUE(response.ok()) << response.rc;
    EXPECT_THAT(response.paths, IsEmpty());
    EXPECT_THAT(response.instances, IsEmpty());
    EXPECT_EQ(response.doneCount, 1);
  }
}

// ---- From anything else ----

TEST_F(InstalledSoftware, OtherObjectsHaveNoReferences) {
  expectNothing(
      broker_.references(orv::test::pathOf("CIM_SoftwareIdentity", {{"InstanceID", kRunningId}})));
  expectNothing(broker_.references(orv::test::pathOf("Orvane_Processor", {{"DeviceID", "cpu-0"}})));
}

TEST_F(InstalledSoftware, ReferenceNamesCarryBothReferences) {
  const Response response = broker_.referenceNames(systemPath());
  EXPECT_THAT(response.paths, ElementsAre(associationPath(kRunningId, kNameSpace)));
}

}  // namespace
