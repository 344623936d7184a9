#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

constexpr unsigned kDriver = 1;
constexpr unsigned kFirmware = 2;
constexpr unsigned kStatistics = 4;
constexpr unsigned kCoalesce = 8;
constexpr unsigned kAll = 15;
constexpr unsigned kNone = 0;

struct AssociationRow {
  unsigned bit;
  const char* className;
  const char* portRole;
  const char* satelliteRole;
  const char* satelliteClass;
};

const AssociationRow kRows[] = {
    {kDriver, "Orvane_EPDriverElementSoftwareIdentity", "Dependent", "Antecedent",
     "Orvane_EPDriverSoftwareIdentity"},
    {kFirmware, "Orvane_EPFirmwareElementSoftwareIdentity", "Dependent", "Antecedent",
     "Orvane_EPFirmwareSoftwareIdentity"},
    {kStatistics, "Orvane_EPStatistics", "Element", "Stats", "Orvane_EPStatisticalInformation"},
    {kCoalesce, "Orvane_EPCoalesceElementSettingData", "ManagedElement", "SettingData",
     "Orvane_EPCoalesceSettingData"},
};

/// What one value of one filter lets through: the associations of a port, and whether the request
/// is answered at all, which it is not for a role that no association has at that end.
struct PortFilter {
  const char* value;
  unsigned passes;
  bool answered = true;
};

const PortFilter kPortRoles[] = {
    {nullptr, kAll},
    {"", kAll},
    {"Dependent", kDriver | kFirmware},
    {"dependent", kDriver | kFirmware},
    {"Element", kStatistics},
    {"ELEMENT", kStatistics},
    {"ManagedElement", kCoalesce},
    {"managedelement", kCoalesce},
    {"Antecedent", kNone, false},
    {"Stats", kNone, false},
    {"SettingData", kNone, false},
    {"Nonsense", kNone, false},
};

const PortFilter kPortResultRoles[] = {
    {nullptr, kAll},
    {"", kAll},
    {"Antecedent", kDriver | kFirmware},
    {"ANTECEDENT", kDriver | kFirmware},
    {"Stats", kStatistics},
    {"stats", kStatistics},
    {"SettingData", kCoalesce},
    {"settingData", kCoalesce},
    {"Dependent", kNone, false},
    {"Element", kNone, false},
    {"ManagedElement", kNone, false},
    {"Nonsense", kNone, false},
};

const PortFilter kPortResultClasses[] = {
    {nullptr, kAll},
    {"", kAll},
    {"Orvane_EPDriverSoftwareIdentity", kDriver},
    {"orvane_epdriversoftwareidentity", kDriver},
    {"Orvane_EPFirmwareSoftwareIdentity", kFirmware},
    {"Orvane_EPStatisticalInformation", kStatistics},
    {"Orvane_EPCoalesceSettingData", kCoalesce},
    {"CIM_SoftwareIdentity", kDriver | kFirmware},
    {"cim_softwareidentity", kDriver | kFirmware},
    {"CIM_LogicalElement", kDriver | kFirmware},
    {"CIM_StatisticalInformation", kStatistics},
    {"CIM_SettingData", kCoalesce},
    {"CIM_ManagedElement", kAll},
    {"Orvane_EthernetPort", kNone},
    {"CIM_NetworkPort", kNone},
    {"Nonsense", kNone},
};

const PortFilter kPortAssocClasses[] = {
    {nullptr, kAll},
    {"", kAll},
    {"Orvane_EPDriverElementSoftwareIdentity", kDriver},
    {"Orvane_EPFirmwareElementSoftwareIdentity", kFirmware},
    {"orvane_epfirmwareelementsoftwareidentity", kFirmware},
    {"Orvane_EPStatistics", kStatistics},
    {"Orvane_EPCoalesceElementSettingData", kCoalesce},
    {"CIM_ElementSoftwareIdentity", kDriver | kFirmware},
    {"CIM_Statistics", kStatistics},
    {"CIM_ElementSettingData", kCoalesce},
    {"Orvane_InstalledSoftwareIdentity", kNone},
    {"Nonsense", kNone},
};

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
  static std::vector<std::string> classNames(unsigned bits) {
    std::vector<std::string> names;
    for (const AssociationRow& row : kRows) {
      if ((bits & row.bit) != 0) names.emplace_back(row.className);
    }
    return names;
  }
  static std::string shown(const char* filter) {
    return filter == nullptr ? "(null)" : "\"" + std::string(filter) + "\"";
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
  for (const PortFilter& role : kPortRoles) {
    for (const PortFilter& resultRole : kPortResultRoles) {
      for (const PortFilter& resultClass : kPortResultClasses) {
        for (const PortFilter& assocClass : kPortAssocClasses) {
          const bool answered = role.answered && resultRole.answered;
          const unsigned passing =
              role.passes & resultRole.passes & resultClass.passes & assocClass.passes;
          const Answer answer =
              references(source, assocClass.value, resultClass.value, role.value, resultRole.value);
          ASSERT_EQ(answer.rc, CMPI_RC_OK);
          ASSERT_EQ(classNames(answer), classNames(passing))
              << "association class " << shown(assocClass.value) << ", result class "
              << shown(resultClass.value) << ", role " << shown(role.value) << ", result role "
              << shown(resultRole.value);
          ASSERT_EQ(answer.doneCount, answered ? 1 : 0)
              << "role " << shown(role.value) << ", result role " << shown(resultRole.value);
        }
      }
    }
  }
}

/// Filters from a satellite either apply or they do not; the association class never matters.
struct SatelliteFilters {
  unsigned bit;
  std::vector<const char*> applyingRoles;
  std::vector<const char*> applyingResultRoles;
};

const SatelliteFilters kSatelliteFilters[] = {
    {kDriver, {nullptr, "", "Antecedent", "antecedent"}, {nullptr, "", "Dependent", "DEPENDENT"}},
    {kFirmware, {nullptr, "", "Antecedent", "antecedent"}, {nullptr, "", "Dependent", "DEPENDENT"}},
    {kStatistics, {nullptr, "", "Stats", "STATS"}, {nullptr, "", "Element", "element"}},
    {kCoalesce,
     {nullptr, "", "SettingData", "settingdata"},
     {nullptr, "", "ManagedElement", "managedElement"}},
};
const char* const kAllRoles[] = {nullptr,          "",
                                 "Antecedent",     "antecedent",
                                 "Stats",          "STATS",
                                 "SettingData",    "settingdata",
                                 "Dependent",      "DEPENDENT",
                                 "Element",        "element",
                                 "ManagedElement", "managedElement",
                                 "Nonsense"};
const std::pair<const char*, bool> kSatelliteResultClasses[] = {
    {nullptr, true},
    {"", true},
    {"Orvane_EthernetPort", true},
    {"orvane_ethernetport", true},
    {"CIM_EthernetPort", true},
    {"CIM_NetworkPort", true},
    {"CIM_ManagedElement", true},
    {"Orvane_EPStatisticalInformation", false},
    {"CIM_SoftwareIdentity", false},
    {"Nonsense", false},
};

bool isAmong(const std::vector<const char*>& values, const char* value) {
  for (const char* one : values) {
    if (one == value || (one != nullptr && value != nullptr && std::string(one) == value)) {
      return true;
    }
  }
  return false;
}

TEST_F(PortAssociations, EveryCombinationOfFiltersFromEachSatellite) {
  for (std::size_t i = 0; i < std::size(kRows); ++i) {
    const AssociationRow& row = kRows[i];
    const SatelliteFilters& filters = kSatelliteFilters[i];
    ASSERT_EQ(row.bit, filters.bit);
    const ObjectPath source = satellitePathOf(row.satelliteClass, "nic0");
    for (const char* role : kAllRoles) {
      for (const char* resultRole : kAllRoles) {
        for (const auto& [resultClass, classApplies] : kSatelliteResultClasses) {
          for (const PortFilter& assocClass : kPortAssocClasses) {
            const bool applies = isAmong(filters.applyingRoles, role) &&
                                 isAmong(filters.applyingResultRoles, resultRole) && classApplies;
            const Answer answer =
                references(source, assocClass.value, resultClass, role, resultRole);
            ASSERT_EQ(answer.rc, CMPI_RC_OK);
            ASSERT_EQ(classNames(answer), classNames(applies ? row.bit : kNone))
                << row.satelliteClass << ": association class " << shown(assocClass.value)
                << ", result class " << shown(resultClass) << ", role " << shown(role)
                << ", result role " << shown(resultRole);
            ASSERT_EQ(answer.doneCount, applies ? 1 : 0);
          }
        }
      }
    }
  }
}

TEST_F(PortAssociations, PortsReferencesHaveTwoPropertiesEach) {
  const ObjectPath source = portPathOf("nic0");
  const Answer answer = references(source);
  ASSERT_EQ(answer.instances.size(), 4u);
  EXPECT_EQ(answer.doneCount, 1);
  for (std::size_t i = 0; i < 4; ++i) {
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
  ASSERT_EQ(answer.instances.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
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
  ASSERT_EQ(fromPort.instances.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
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
            4u);
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
  EXPECT_EQ(classNames(answer), classNames(kStatistics));
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
  ASSERT_EQ(answer.instances.size(), 4u);
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
  EXPECT_EQ(associators(portPathOf("nic0")).instances.size(), 4u);
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
