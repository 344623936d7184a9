#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "tests/library/registered_sections.h"
#include "tests/support/library_fixture.h"

// Everything that the libraries serve on the example host, against tests/golden/<class>.txt. After
// a wanted change, `cmake --build build --target renew_golden` writes the listings anew; their diff
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

class GoldenListing : public testing::TestWithParam<broker::RegistrationSection> {
 protected:
  SimulatedHostFile host_{exampleHost()};
  LoadedLibrary library_ = loadedFor(GetParam());
};

TEST_P(GoldenListing, IsWhatTheLibraryServes) {
  const std::string& className = GetParam().className;
  const std::string path = std::string(ORV_SOURCE_DIR) + "/tests/golden/" + className + ".txt";
  const std::string actual = listing(*library_, className);
  if (std::getenv("ORV_RENEW_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << actual;
    return;
  }
  EXPECT_EQ(readFile(path), actual) << "renew with: cmake --build build --target renew_golden";
}

INSTANTIATE_TEST_SUITE_P(Class, GoldenListing,
                         testing::ValuesIn(sectionsOfKind(&broker::RegistrationSection::instance)),
                         sectionName);

TEST(GoldenListings, AreOfRegisteredClasses) {
  std::set<std::string> served;
  for (const auto& section : sectionsOfKind(&broker::RegistrationSection::instance)) {
    served.insert(section.className + ".txt");
  }
  const std::string directory = std::string(ORV_SOURCE_DIR) + "/tests/golden";
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    EXPECT_TRUE(served.count(entry.path().filename().string()) > 0) << entry.path();
  }
}

}  // namespace
}  // namespace orv::test
