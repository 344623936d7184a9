#include <dlfcn.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/provider_scope.h"
#include "tests/support/simulated_host_file.h"

// The exported factories, called as an object manager calls them.
namespace orv::test {
namespace {

constexpr char kStartLine[] = "--- _Create_InstanceMI() P10CmpiBaseMI\n";

struct FactoryRow {
  const char* symbol;
  const char* miName;
  bool printsStartLine;
};

const FactoryRow kFactoryRows[] = {
    {"EthernetPortProvider_Create_InstanceMI", "instanceEthernetPortProvider", true},
    {"EthernetPortProvider_Create_AssociationMI", "associationEthernetPortProvider", false},
    {"KernelIPProtocolEndpointProvider_Create_InstanceMI",
     "instanceKernelIPProtocolEndpointProvider", true},
    {"Orvane_CIMHeartbeat_Create_IndicationMI", "indicationOrvane_CIMHeartbeat", false},
    {"Orvane_LatchedHealthState_Create_InstanceMI", "instanceOrvane_LatchedHealthState", true},
    {"Orvane_LatchedHealthAssociation_Create_AssociationMI",
     "associationOrvane_LatchedHealthAssociation", false},
    {"Orvane_KernelIPChangedIndication_Create_IndicationMI",
     "indicationOrvane_KernelIPChangedIndication", false},
    {"HypervisorSoftwareIdentity_Create_InstanceMI", "instanceHypervisorSoftwareIdentity", true},
    {"OrvaneProcessorProvider_Create_InstanceMI", "instanceOrvaneProcessorProvider", true},
    {"OrvaneInstalledSoftwareIdentity_Create_InstanceMI", "instanceOrvaneInstalledSoftwareIdentity",
     true},
    {"OrvaneInstalledSoftwareIdentity_Create_AssociationMI",
     "associationOrvaneInstalledSoftwareIdentity", false},
};

/// The beginning that all MI records and tables share.
struct MiTable {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(void*, const CMPIContext*, CMPIBoolean);
};
struct MiRecord {
  void* hdl;
  MiTable* ft;
};
using Factory = MiRecord* (*)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);

class LibraryFactories : public testing::Test {
 protected:
  LibraryFactories() {
    handle_ = dlopen(ORV_SIMULATED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  /// Stops the threads of the providers that were made.
  ~LibraryFactories() override {
    for (MiRecord* record : records_) record->ft->cleanup(record, scope_.context(), 1);
  }

  MiRecord* create(const std::string& symbol) {
    const auto factory = reinterpret_cast<Factory>(dlsym(handle_, symbol.c_str()));
    if (factory == nullptr) throw std::runtime_error(dlerror());
    CMPIStatus status{CMPI_RC_OK, nullptr};
    MiRecord* record = factory(scope_.broker(), scope_.context(), &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_NE(record, nullptr) << symbol;
    records_.push_back(record);
    return record;
  }

  SimulatedHostFile host_{"{}"};
  void* handle_ = nullptr;
  std::vector<MiRecord*> records_;
  ProviderScope request_;  // nothing registered: the monitor thread's up-calls call no factory
  broker::RequestScope& scope_ = request_.scope();
};

TEST_F(LibraryFactories, EachHasItsNameVersionsAndStartLine) {
  for (const FactoryRow& row : kFactoryRows) {
    testing::internal::CaptureStderr();
    const MiRecord* record = create(row.symbol);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.printsStartLine ? kStartLine : "")
        << row.symbol;
    EXPECT_EQ(record->ft->ftVersion, 200) << row.symbol;
    EXPECT_EQ(record->ft->miVersion, 200) << row.symbol;
    EXPECT_STREQ(record->ft->miName, row.miName);
    EXPECT_NE(record->hdl, nullptr) << row.symbol;
  }
}

TEST_F(LibraryFactories, EachGivesTheSameRecordAndObjectAgain) {
  for (const FactoryRow& row : kFactoryRows) {
    const MiRecord first = *create(row.symbol);
    testing::internal::CaptureStderr();
    const MiRecord* second = create(row.symbol);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.printsStartLine ? kStartLine : "");
    EXPECT_EQ(second->hdl, first.hdl) << row.symbol;
    EXPECT_EQ(second->ft, first.ft) << row.symbol;
  }
}

TEST_F(LibraryFactories, AssociationFactoryFirstMakesTheObjectOfBoth) {
  testing::internal::CaptureStderr();
  const MiRecord* association = create("EthernetPortProvider_Create_AssociationMI");
  const MiRecord* instance = create("EthernetPortProvider_Create_InstanceMI");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kStartLine);
  EXPECT_EQ(association->hdl, instance->hdl);
  EXPECT_NE(association, instance);
}

TEST_F(LibraryFactories, InstalledSoftwareIsOneObjectToo) {
  EXPECT_EQ(create("OrvaneInstalledSoftwareIdentity_Create_AssociationMI")->hdl,
            create("OrvaneInstalledSoftwareIdentity_Create_InstanceMI")->hdl);
}

TEST_F(LibraryFactories, AddressChangesAndLatchedHealthAreTwoObjects) {
  EXPECT_NE(create("Orvane_KernelIPChangedIndication_Create_IndicationMI")->hdl,
            create("Orvane_LatchedHealthState_Create_InstanceMI")->hdl);
}

TEST_F(LibraryFactories, EveryNameHasAnObjectOfItsOwn) {
  std::set<void*> objects;
  std::set<std::string> names;
  for (const FactoryRow& row : kFactoryRows) {
    objects.insert(create(row.symbol)->hdl);
    const std::string symbol = row.symbol;
    names.insert(symbol.substr(0, symbol.find("_Create_")));
  }
  EXPECT_EQ(objects.size(), names.size());
}

}  // namespace
}  // namespace orv::test
