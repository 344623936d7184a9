#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/library_fixture.h"

// Everything that the library serves on the example host, against tests/golden/<class>.txt. After a
// wanted change, `cmake --build build --target renew_golden` writes the listings anew; their diff
// is reviewed like code.
namespace orv::test {
namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

/// Follows the machine that runs the test, not the host file: listed without its value.
bool isMachines(const std::string& property) { return property == "LastStartTime"; }

/// What the provider set, in its order, with types.
void list(const broker::Instance& instance, std::ostream& out) {
  out << "\n" << instance.path.className << "\n";
  for (const std::string& name : instance.setOrder) {
    const broker::Value* value = instance.property(name);
    if (value == nullptr) continue;
    out << "  " << broker::typeName(value->type) << " " << name << " = "
        << (isMachines(name) ? "(this machine's)" : value->toText()) << "\n";
  }
}

std::string listing(broker::Broker& library, const std::string& className) {
  const auto names = library.enumerateInstanceNames("root/cimv2", className);
  const auto all = library.enumerateInstances("root/cimv2", className);
  EXPECT_EQ(names.rc, CMPI_RC_OK) << className;
  EXPECT_EQ(all.rc, CMPI_RC_OK) << className;
  std::ostringstream text;
  text << "Names\n\n";
  for (const auto& path : names.paths) text << path.toText() << "\n";
  text << "\nInstances\n";
  for (const auto& instance : all.instances) list(instance, text);
  return text.str();
}

class GoldenListing : public testing::TestWithParam<const char*> {
 protected:
  SimulatedHostFile host_{readFile(std::string(ORV_SOURCE_DIR) + "/tests/hosts/example.json")};
  LoadedLibrary library_{ORV_SIMULATED_LIBRARY};
};

TEST_P(GoldenListing, IsWhatTheLibraryServes) {
  const std::string path = std::string(ORV_SOURCE_DIR) + "/tests/golden/" + GetParam() + ".txt";
  const std::string actual = listing(*library_, GetParam());
  if (std::getenv("ORV_RENEW_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << actual;
    return;
  }
  EXPECT_EQ(readFile(path), actual) << "renew with: cmake --build build --target renew_golden";
}

INSTANTIATE_TEST_SUITE_P(
    Class, GoldenListing,
    testing::Values("Orvane_EthernetPort", "Orvane_EPDriverSoftwareIdentity",
                    "Orvane_EPFirmwareSoftwareIdentity", "Orvane_EPStatisticalInformation",
                    "Orvane_EPCoalesceSettingData", "Orvane_EPDriverElementSoftwareIdentity",
                    "Orvane_EPFirmwareElementSoftwareIdentity", "Orvane_EPStatistics",
                    "Orvane_EPCoalesceElementSettingData", "Orvane_KernelIPv4ProtocolEndpoint",
                    "Orvane_KernelIPv6ProtocolEndpoint", "Orvane_HypervisorSoftwareIdentity",
                    "Orvane_InstalledSoftwareIdentity", "Orvane_Processor",
                    "Orvane_RollupHealthState"),
    [](const auto& listed) { return std::string(listed.param); });

}  // namespace
}  // namespace orv::test
