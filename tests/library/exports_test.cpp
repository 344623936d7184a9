#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/library/elf_image.h"

namespace orv::test {
namespace {

const std::set<std::string> kFactories = {
    "EthernetPortProvider_Create_InstanceMI",
    "EthernetPortProvider_Create_AssociationMI",
    "KernelIPProtocolEndpointProvider_Create_InstanceMI",
    "Orvane_CIMHeartbeat_Create_IndicationMI",
    "Orvane_LatchedHealthState_Create_InstanceMI",
    "Orvane_LatchedHealthAssociation_Create_AssociationMI",
    "Orvane_KernelIPChangedIndication_Create_IndicationMI",
    "HypervisorSoftwareIdentity_Create_InstanceMI",
    "OrvaneProcessorProvider_Create_InstanceMI",
    "OrvaneInstalledSoftwareIdentity_Create_InstanceMI",
    "OrvaneInstalledSoftwareIdentity_Create_AssociationMI",
};

/// What every host with the library has; the sanitizers' run-time is there where it is used.
bool isOnEveryHost(const std::string& file) {
  for (const char* name :
       {"libc.so.", "libm.so.", "libgcc_s.so.", "libstdc++.so.", "ld-linux-", "libpthread.so.",
        "libdl.so.", "libasan.so.", "libubsan.so.", "libtsan.so."}) {
    if (file.rfind(name, 0) == 0) return true;
  }
  return false;
}

class Library : public testing::TestWithParam<const char*> {
 protected:
  ElfImage image_ = readElfImage(GetParam());
};

TEST_P(Library, ExportsExactlyTheFactories) { EXPECT_EQ(image_.exported, kFactories); }

TEST_P(Library, StaysLoaded) { EXPECT_TRUE(image_.noDelete); }

TEST_P(Library, HasNoTextRelocations) { EXPECT_FALSE(image_.textRelocations); }

TEST_P(Library, NeedsWhatEveryHostHasAndTheNetlinkLibraryAtMost) {
  const bool real = std::string(GetParam()) == ORV_REAL_LIBRARY;
  for (const std::string& file : image_.neededFiles) {
    const bool netlink = file.rfind("libmnl.so.", 0) == 0;
    EXPECT_TRUE(isOnEveryHost(file) || (real && netlink)) << file;
  }
}

TEST_P(Library, AsksNoLocaleForTheCaseOfALetter) {
  for (const char* name : {"strcasecmp", "strncasecmp", "tolower", "toupper"}) {
    EXPECT_EQ(image_.imported.count(name), 0u) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Real, Library, testing::Values(ORV_REAL_LIBRARY));
INSTANTIATE_TEST_SUITE_P(Simulated, Library, testing::Values(ORV_SIMULATED_LIBRARY));

// ---- The second library ----

const std::set<std::string> kHostFactories = {
    "OrvaneHostSystem_Create_InstanceMI",
    "OrvaneHostHardware_Create_InstanceMI",
    "OrvaneHostAssociations_Create_InstanceMI",
    "OrvaneHostAssociations_Create_AssociationMI",
};

class HostLibrary : public testing::TestWithParam<const char*> {
 protected:
  ElfImage image_ = readElfImage(GetParam());
};

TEST_P(HostLibrary, ExportsExactlyTheFactories) { EXPECT_EQ(image_.exported, kHostFactories); }

TEST_P(HostLibrary, StaysLoaded) { EXPECT_TRUE(image_.noDelete); }

TEST_P(HostLibrary, HasNoTextRelocations) { EXPECT_FALSE(image_.textRelocations); }

TEST_P(HostLibrary, NeedsTheLibrariesOfItsSourcesAtMost) {
  const bool real = std::string(GetParam()) == ORV_HOST_LIBRARY;
  for (const std::string& file : image_.neededFiles) {
    bool source = false;
    for (const char* name : {"libsensors.so.", "libudev.so.", "libnvme.so."}) {
      source |= file.rfind(name, 0) == 0;
    }
    EXPECT_TRUE(isOnEveryHost(file) || (real && source)) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(Real, HostLibrary, testing::Values(ORV_HOST_LIBRARY));
INSTANTIATE_TEST_SUITE_P(Simulated, HostLibrary, testing::Values(ORV_SIMULATED_HOST_LIBRARY));

}  // namespace
}  // namespace orv::test
