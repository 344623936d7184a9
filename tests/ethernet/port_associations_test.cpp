#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <tuple>

#include "broker/registration.h"
#include "cmpi/cmpi_reference.h"
#include "tests/ethernet/ethernet_fixture.h"

namespace EthernetProvider {
namespace {

using orv::broker::ObjectPath;
using orv::broker::RequestScope;
using orv::broker::Value;
using orv::test::objectPath;
using testing::ElementsAre;
using testing::IsEmpty;

struct AssociationRow {
  std::string className;
  std::string portRole;
  std::string satelliteRole;
  std::string satelliteClass;

  bool operator==(const AssociationRow& other) const {
    return std::tie(className, portRole, satelliteRole, satelliteClass) ==
           std::tie(other.className, other.portRole, other.satelliteRole, other.satelliteClass);
  }
};

/// What the schema and the registration say of the port's associations, in the registration's
/// order: the expectation of every test here, made without the provider's own table.
std::vector<AssociationRow> declaredRows() {
  std::vector<AssociationRow> rows;
  for (const auto& section :
       orv::broker::readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/orvprovider.reg")) {
    if (!section.association || section.provider != "EthernetPortProvider") continue;
    AssociationRow row;
    row.className = section.className;
    for (const auto& property : orv::test::projectSchema()->find(section.className)->properties) {
      if (property.type != CMPI_ref) continue;
      const bool port = property.referenceClass == kPortClass;
      (port ? row.portRole : row.satelliteRole) = property.name;
      if (!port) row.satelliteClass = property.referenceClass;
    }
    rows.push_back(row);
  }
  return rows;
}
const std::vector<AssociationRow> kRows = declaredRows();

// Clients rely on this order and spelling. Others may follow.
TEST(PortAssociationTable, BeginsWithTheseFour) {
  const AssociationRow first[] = {
      {"Orvane_EPDriverElementSoftwareIdentity", "Dependent", "Antecedent",
       "Orvane_EPDriverSoftwareIdentity"},
      {"Orvane_EPFirmwareElementSoftwareIdentity", "Dependent", "Antecedent",
       "Orvane_EPFirmwareSoftwareIdentity"},
      {"Orvane_EPStatistics", "Element", "Stats", "Orvane_EPStatisticalInformation"},
      {"Orvane_EPCoalesceElementSettingData", "ManagedElement", "SettingData",
       "Orvane_EPCoalesceSettingData"}};
  ASSERT_GE(kRows.size(), std::size(first));
  for (std::size_t i = 0; i < std::size(first); ++i) EXPECT_EQ(kRows[i], first[i]) << i;
}

TEST(PortAssociationTable, IsWhatTheSchemaDeclares) {
  std::vector<AssociationRow> served;
  for (const PortAssociation& row : portAssociations()) {
    served.push_back({row.className, row.portRole, row.satelliteRole, row.satelliteClass});
  }
  EXPECT_EQ(served, kRows);
}

/// A filter of a request: null, empty, or a name.
using Filter = std::optional<std::string>;

const char* textOf(const Filter& filter) { return filter ? filter->c_str() : nullptr; }
std::string shown(const Filter& filter) { return filter ? "\"" + *filter + "\"" : "(null)"; }
bool isOpen(const Filter& filter) { return !filter || filter->empty(); }

/// Every filter worth trying: none, each of the names, the first in other letters, a stranger.
std::vector<Filter> filtersOf(const std::set<std::string>& names) {
  std::vector<Filter> filters = {std::nullopt, "", "Nonsense", names.begin()->c_str()};
  for (char& c : *filters.back())
    c = static_cast<char>(std::isupper(c) ? std::tolower(c) : std::toupper(c));
  filters.insert(filters.end(), names.begin(), names.end());
  return filters;
}

/// Each role in both kinds of letters.
std::vector<Filter> roleFilters() {
  std::set<std::string> names;
  for (const AssociationRow& row : kRows) names.insert({row.portRole, row.satelliteRole});
  return filtersOf(names);
}

/// Each of the classes and `other`, and everything above them.
std::vector<Filter> classFilters(std::string AssociationRow::*member, const char* other) {
  std::set<std::string> names = {other};
  for (const AssociationRow& row : kRows) names.insert(row.*member);
  for (const std::string& start : std::set<std::string>(names)) {
    for (const auto* c = orv::test::projectSchema()->find(start); c != nullptr;
         c = orv::test::projectSchema()->find(c->superclass)) {
      names.insert(c->name);
    }
  }
  return filtersOf(names);
}

bool passes(const Filter& role, const std::string& name) {
  return isOpen(role) || orv::broker::sameName(*role, name);
}
bool passesClass(const Filter& filter, const std::string& className) {
  return isOpen(filter) || orv::test::projectSchema()->isA(className, *filter);
}
/// A role that no association has at that end is not answered at all.
bool isRole(const Filter& role, std::string AssociationRow::*member) {
  return std::any_of(kRows.begin(), kRows.end(),
                     [&](const AssociationRow& row) { return passes(role, row.*member); });
}

class PortAssociations : public EthernetTest {
 protected:
  /// The operation of the association interface, as an object manager calls it.
  Answer associators(const ObjectPath& path) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      CMPIAssociationMIFT table = CmpiAssociationMI::functionTable("test");
      CMPIAssociationMI record{static_cast<CmpiBaseMI*>(provider_.get()), &table};
      return CmpiStatus(table.associators(&record, context.getEnc(), result.getEnc(),
                                          scope_.path(path).getEnc(), nullptr, nullptr, nullptr,
                                          nullptr, nullptr));
    });
  }
  static std::vector<std::string> classNames(const Answer& answer) {
    std::vector<std::string> names;
    for (const Instance& instance : answer.instances) names.push_back(instance.path.className);
    return names;
  }
  static void expectNothing(const Answer& answer) {
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_EQ(answer.message, std::nullopt);
    EXPECT_EQ(answer.doneCount, 0);
    EXPECT_THAT(answer.instances, IsEmpty());
  }
  static void expectInvalidDeviceId(const Answer& answer) {
    EXPECT_EQ(answer.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(answer.message, "DeviceID specified is not valid");
    EXPECT_EQ(answer.doneCount, 0);
    EXPECT_THAT(answer.instances, IsEmpty());
  }
};

TEST_F(PortAssociations, EveryCombinationOfFiltersFromAPort) {
  const ObjectPath source = objectPath("Orvane_EthernetPort", {{"DeviceID", "nic0"}});
  const auto resultClasses = classFilters(&AssociationRow::satelliteClass, kPortClass);
  const auto assocClasses =
      classFilters(&AssociationRow::className, "Orvane_InstalledSoftwareIdentity");
  for (const Filter& role : roleFilters()) {
    for (const Filter& resultRole : roleFilters()) {
      const bool answered = isRole(role, &AssociationRow::portRole) &&
                            isRole(resultRole, &AssociationRow::satelliteRole);
      for (const Filter& resultClass : resultClasses) {
        for (const Filter& assocClass : assocClasses) {
          std::vector<std::string> passing;
          for (const AssociationRow& row : kRows) {
            if (passes(role, row.portRole) && passes(resultRole, row.satelliteRole) &&
                passesClass(resultClass, row.satelliteClass) &&
                passesClass(assocClass, row.className)) {
              passing.push_back(row.className);
            }
          }
          const Answer answer = references(source, textOf(assocClass), textOf(resultClass),
                                           textOf(role), textOf(resultRole));
          ASSERT_EQ(answer.rc, CMPI_RC_OK);
          ASSERT_EQ(classNames(answer), passing)
              << "association class " << shown(assocClass) << ", result class "
              << shown(resultClass) << ", role " << shown(role) << ", result role "
              << shown(resultRole);
          ASSERT_EQ(answer.doneCount, answered ? 1 : 0)
              << "role " << shown(role) << ", result role " << shown(resultRole);
        }
      }
    }
  }
}

/// Filters from a satellite either apply or they do not; the association class never matters.
TEST_F(PortAssociations, EveryCombinationOfFiltersFromEachSatellite) {
  const auto resultClasses = classFilters(&AssociationRow::satelliteClass, kPortClass);
  const auto assocClasses =
      classFilters(&AssociationRow::className, "Orvane_InstalledSoftwareIdentity");
  for (const AssociationRow& row : kRows) {
    const ObjectPath source = satellitePathOf(row.satelliteClass, "nic0");
    for (const Filter& role : roleFilters()) {
      for (const Filter& resultRole : roleFilters()) {
        for (const Filter& resultClass : resultClasses) {
          const bool applies = passes(role, row.satelliteRole) &&
                               passes(resultRole, row.portRole) &&
                               passesClass(resultClass, kPortClass);
          for (const Filter& assocClass : assocClasses) {
            const Answer answer = references(source, textOf(assocClass), textOf(resultClass),
                                             textOf(role), textOf(resultRole));
            ASSERT_EQ(answer.rc, CMPI_RC_OK);
            ASSERT_EQ(classNames(answer),
                      applies ? std::vector{row.className} : std::vector<std::string>{})
                << row.satelliteClass << ": association class " << shown(assocClass)
                << ", result class " << shown(resultClass) << ", role " << shown(role)
                << ", result role " << shown(resultRole);
            ASSERT_EQ(answer.doneCount, applies ? 1 : 0);
          }
        }
      }
    }
  }
}

// Some of those combinations as clients send them, stated without the schema.
TEST_F(PortAssociations, FiltersNameSuperclassesAndRoles) {
  const ObjectPath source = objectPath("Orvane_EthernetPort", {{"DeviceID", "nic0"}});
  const std::vector<std::string> identities = {"Orvane_EPDriverElementSoftwareIdentity",
                                               "Orvane_EPFirmwareElementSoftwareIdentity"};
  EXPECT_EQ(classNames(references(source, "CIM_ElementSoftwareIdentity")), identities);
  EXPECT_EQ(classNames(references(source, nullptr, "cim_softwareidentity")), identities);
  EXPECT_EQ(classNames(references(source, nullptr, "CIM_LogicalElement")), identities);
  EXPECT_EQ(classNames(references(source, nullptr, nullptr, "dependent")), identities);
  EXPECT_EQ(classNames(references(source, nullptr, nullptr, nullptr, "ANTECEDENT")), identities);
  EXPECT_THAT(classNames(references(source, "CIM_Statistics")), ElementsAre("Orvane_EPStatistics"));
  EXPECT_THAT(classNames(references(source, nullptr, "CIM_StatisticalInformation")),
              ElementsAre("Orvane_EPStatistics"));
  EXPECT_THAT(classNames(references(source, nullptr, nullptr, "Element", "stats")),
              ElementsAre("Orvane_EPStatistics"));
  EXPECT_EQ(references(source, nullptr, "CIM_ManagedElement").instances.size(), kRows.size());
  EXPECT_THAT(references(source, nullptr, "CIM_NetworkPort").instances, IsEmpty());
}

TEST_F(PortAssociations, PortsReferencesHaveTwoPropertiesEach) {
  const ObjectPath source = portPathOf("nic0");
  const Answer answer = references(source);
  ASSERT_EQ(answer.instances.size(), kRows.size());
  EXPECT_EQ(answer.doneCount, 1);
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    const AssociationRow& row = kRows[i];
    const Instance& instance = answer.instances[i];
    EXPECT_EQ(instance.path.className, row.className);
    EXPECT_EQ(instance.path.nameSpace, "root/cimv2");
    EXPECT_THAT(instance.setOrder, ElementsAre(row.portRole, row.satelliteRole));
    EXPECT_EQ(*instance.property(row.portRole), Value::ofReference(source));
    EXPECT_EQ(*instance.property(row.satelliteRole),
              Value::ofReference(satellitePathOf(row.satelliteClass, "nic0")));
  }
}

TEST_F(PortAssociations, PortsPathIsReferredToAsItStands) {
  const ObjectPath source =
      objectPath("Orvane_EthernetPort", {{"DeviceID", "nic0"}, {"SystemName", "another"}});
  const Answer answer = references(source);
  ASSERT_EQ(answer.instances.size(), kRows.size());
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    EXPECT_EQ(*answer.instances[i].property(kRows[i].portRole), Value::ofReference(source));
  }
}

TEST_F(PortAssociations, SatellitesReferenceLeadsToThePortWithFourKeys) {
  for (const AssociationRow& row : kRows) {
    const ObjectPath source = satellitePathOf(row.satelliteClass, "nic0");
    const Answer answer = references(source);
    ASSERT_EQ(answer.instances.size(), 1u);
    EXPECT_EQ(answer.doneCount, 1);
    const Instance& instance = answer.instances[0];
    EXPECT_EQ(instance.path.className, row.className);
    EXPECT_THAT(instance.setOrder, ElementsAre(row.portRole, row.satelliteRole));
    EXPECT_EQ(*instance.property(row.portRole), Value::ofReference(portPathOf("nic0")));
    EXPECT_EQ(*instance.property(row.satelliteRole), Value::ofReference(source));
  }
}

TEST_F(PortAssociations, SystemKeysComeFromTheHost) {
  network_.systemName = "another host";
  network_.systemClassName = "Other_System";
  for (const AssociationRow& row : kRows) {
    const Answer answer = references(satellitePathOf(row.satelliteClass, "nic0"));
    ASSERT_EQ(answer.instances.size(), 1u);
    const ObjectPath& port = answer.instances[0].property(row.portRole)->reference();
    EXPECT_EQ(*port.key("SystemName"), Value::ofString("another host"));
    EXPECT_EQ(*port.key("SystemCreationClassName"), Value::ofString("Other_System"));
  }
}

TEST_F(PortAssociations, EverythingIsInTheRequestsNamespace) {
  const Answer fromPort =
      references(objectPath("Orvane_EthernetPort", {{"DeviceID", "nic0"}}, "root/other"));
  ASSERT_EQ(fromPort.instances.size(), kRows.size());
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    EXPECT_EQ(fromPort.instances[i].property(kRows[i].satelliteRole)->reference().nameSpace,
              "root/other");
  }
  const Answer fromSatellite = references(
      objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", "x:nic0"}}, "root/other"));
  ASSERT_EQ(fromSatellite.instances.size(), 1u);
  EXPECT_EQ(fromSatellite.instances[0].property("Element")->reference().nameSpace, "root/other");
}

TEST_F(PortAssociations, SourceClassCountsWithoutRegardToCase) {
  EXPECT_EQ(references(objectPath("ORVANE_ethernetport", {{"DeviceID", "a"}})).instances.size(),
            kRows.size());
  for (const AssociationRow& row : kRows) {
    std::string name = row.satelliteClass;
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(references(objectPath(name, {{"InstanceID", "x:a"}})).instances.size(), 1u) << name;
  }
}

TEST_F(PortAssociations, AnyOtherSourceClassGivesNothingAndIsNotDone) {
  for (const char* name : {"CIM_EthernetPort", "Orvane_EPStatistics", "Orvane_Processor", ""}) {
    expectNothing(references(objectPath(name, {{"DeviceID", "nic0"}, {"InstanceID", "x:nic0"}})));
  }
}

TEST_F(PortAssociations, RoleAndResultRoleOfDifferentAssociationsAreDoneWithNothing) {
  const Answer answer = references(portPathOf("nic0"), nullptr, nullptr, "Dependent", "Stats");
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(PortAssociations, StatisticsAreAnsweredWhateverAssociationClassIsNamed) {
  const Answer answer = references(satellitePathOf("Orvane_EPStatisticalInformation", "nic0"),
                                   "Orvane_EPDriverElementSoftwareIdentity");
  EXPECT_THAT(classNames(answer), ElementsAre("Orvane_EPStatistics"));
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(PortAssociations, PortWithoutDeviceIdIsAnInvalidParameter) {
  expectInvalidDeviceId(references(objectPath("Orvane_EthernetPort")));
  ObjectPath withNull = objectPath("Orvane_EthernetPort");
  withNull.keys.push_back({"DeviceID", Value::ofNull(CMPI_string)});
  expectInvalidDeviceId(references(withNull));
}

TEST_F(PortAssociations, FiltersThatSelectNothingStillNeedTheDeviceId) {
  expectInvalidDeviceId(
      references(objectPath("Orvane_EthernetPort"), nullptr, nullptr, "Dependent", "Stats"));
}

TEST_F(PortAssociations, UnknownRoleComesBeforeTheDeviceId) {
  expectNothing(references(objectPath("Orvane_EthernetPort"), nullptr, nullptr, "Nonsense"));
  expectNothing(
      references(objectPath("Orvane_EthernetPort"), nullptr, nullptr, nullptr, "Nonsense"));
}

TEST_F(PortAssociations, EmptyDeviceIdIsOne) {
  const Answer answer = references(objectPath("Orvane_EthernetPort", {{"DeviceID", ""}}));
  ASSERT_EQ(answer.instances.size(), kRows.size());
  EXPECT_EQ(*answer.instances[2].property("Stats"),
            Value::ofReference(satellitePathOf("Orvane_EPStatisticalInformation", "")));
}

TEST_F(PortAssociations, SatelliteWithoutUsableInstanceIdIsAnInvalidParameter) {
  for (const AssociationRow& row : kRows) {
    expectInvalidDeviceId(references(objectPath(row.satelliteClass)));
    expectInvalidDeviceId(references(objectPath(row.satelliteClass, {{"InstanceID", ""}})));
    expectInvalidDeviceId(references(objectPath(row.satelliteClass, {{"InstanceID", "nic0"}})));
  }
}

TEST_F(PortAssociations, FilterThatDoesNotApplyComesBeforeTheInstanceId) {
  expectNothing(
      references(objectPath("Orvane_EPStatisticalInformation"), nullptr, nullptr, "Antecedent"));
}

TEST_F(PortAssociations, InstanceIdThatEndsInAColonLeadsToAnEmptyDeviceId) {
  const Answer answer = references(
      objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", "Orvane:something:"}}));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(*answer.instances[0].property("Element")->reference().key("DeviceID"),
            Value::ofString(""));
}

TEST_F(PortAssociations, PrefixOfAnotherClassIsAnsweredAllTheSame) {
  const Answer answer =
      references(objectPath("Orvane_EPStatisticalInformation",
                            {{"InstanceID", "Orvane:Orvane_EPDriverSoftwareIdentity:nic0"}}));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(*answer.instances[0].property("Element"), Value::ofReference(portPathOf("nic0")));
}

TEST_F(PortAssociations, NamesAreNotCut) {
  const std::string longName(300, 'n');
  const Answer answer = references(satellitePathOf("Orvane_EPCoalesceSettingData", longName));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(*answer.instances[0].property("ManagedElement"),
            Value::ofReference(portPathOf(longName)));
}

/// Names that no reference carries: a broker would crash on them.
const std::string kUncarriableNames[] = {"ni\"c", std::string(4200, 'n')};

TEST_F(PortAssociations, SourceThatCannotBeCarriedIsAnInvalidParameter) {
  for (const std::string& name : kUncarriableNames) {
    for (const ObjectPath& source :
         {portPathOf(name), satellitePathOf("Orvane_EPStatisticalInformation", name)}) {
      EXPECT_THROW(references(source), CmpiReferenceError);
    }
  }
}

TEST_F(PortAssociations, SatelliteThatCannotBeCarriedMakesItsPortAnInvalidParameter) {
  // The port's own path is short enough, those of its satellites are longer.
  const ObjectPath source =
      objectPath("Orvane_EthernetPort", {{"DeviceID", std::string(4040, 'n')}});
  EXPECT_NO_THROW(references(source, nullptr, "Nonsense"));
  EXPECT_THROW(references(source), CmpiReferenceError);
}

TEST_F(PortAssociations, PortsThatCannotBeCarriedAreLeftOutOfTheAssociationClasses) {
  network_.ports = {orv::test::portNamed("nic0"), orv::test::portNamed(kUncarriableNames[0]),
                    orv::test::portNamed(kUncarriableNames[1]), orv::test::portNamed("nic1")};
  for (const AssociationRow& row : kRows) {
    const Answer names = enumNames(objectPath(row.className));
    EXPECT_EQ(names.rc, CMPI_RC_OK);
    ASSERT_EQ(names.paths.size(), 2u);
    EXPECT_EQ(*names.paths[1].key(row.portRole), Value::ofReference(portPathOf("nic1")));
    EXPECT_EQ(names.doneCount, 1);
    const Answer instances = enumInstances(objectPath(row.className));
    EXPECT_EQ(instances.rc, CMPI_RC_OK);
    ASSERT_EQ(instances.instances.size(), 2u);
    EXPECT_EQ(*instances.instances[1].property(row.portRole),
              Value::ofReference(portPathOf("nic1")));
    EXPECT_EQ(instances.doneCount, 1);
  }
  EXPECT_EQ(enumNames(objectPath("Orvane_EthernetPort")).paths.size(), 4u);
  EXPECT_EQ(enumInstances(objectPath("Orvane_EPStatisticalInformation")).instances.size(), 4u);
}

TEST_F(PortAssociations, AssociatorsAskTheHostForTheOnePortOnly) {
  network_.ports = {orv::test::portNamed("nic0"), orv::test::portNamed("nic1")};
  EXPECT_EQ(associators(portPathOf("nic0")).instances.size(), kRows.size());
  EXPECT_THAT(network_.namesAsked, testing::Each("nic0"));
  EXPECT_EQ(network_.lists, 0);
}

TEST_F(PortAssociations, AnotherPortThatFailsHidesNothing) {
  network_.ports = {orv::test::portNamed("nic0"), orv::test::portNamed("nic1")};
  network_.ports[1].faults["GetMtu"] = orv::test::HostFault::kNodemgr;
  const Answer answer = associators(satellitePathOf("Orvane_EPStatisticalInformation", "nic0"));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(*answer.instances[0].property("DeviceID"), Value::ofString("nic0"));
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(PortAssociations, AssociatedPortThatFailsIsTheAnswer) {
  network_.ports = {orv::test::portNamed("nic1")};
  network_.ports[0].faults["GetMtu"] = orv::test::HostFault::kNodemgr;
  EXPECT_EQ(associators(satellitePathOf("Orvane_EPStatisticalInformation", "nic1")).rc,
            CMPI_RC_ERR_FAILED);
  network_.byNameFault = orv::test::HostFault::kNodemgr;
  const Answer answer = associators(portPathOf("nic1"));
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(answer.message, "Failed to get pnics information");
}

TEST_F(PortAssociations, AssociatedObjectsOfAPortThatIsGoneAreLeftOut) {
  network_.ports = {orv::test::portNamed("nic1")};
  const Answer answer = associators(portPathOf("nic0"));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(PortAssociations, TheHostIsNotAskedForPorts) {
  references(portPathOf("nic0"));
  references(satellitePathOf("Orvane_EPStatisticalInformation", "nic0"));
  EXPECT_EQ(network_.networkInfos, 0);
}

}  // namespace
}  // namespace EthernetProvider
