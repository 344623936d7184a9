#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "broker/registration.h"
#include "tests/support/library_fixture.h"

/// What is registered, for tests that take their classes from there, and the host that they ask.
namespace orv::broker {

/// For the names of parameters in the messages of failed tests.
inline void PrintTo(const RegistrationSection& section, std::ostream* out) {
  *out << section.className;
}

}  // namespace orv::broker

namespace orv::test {

/// Of both libraries.
inline std::vector<broker::RegistrationSection> registeredSections() {
  const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
  auto sections = broker::readRegistrationFile(schema + "/orvprovider.reg");
  for (auto& section : broker::readRegistrationFile(schema + "/host/orvhost.reg")) {
    sections.push_back(std::move(section));
  }
  return sections;
}

inline bool isOfHostLibrary(const broker::RegistrationSection& section) {
  return section.location == "orvhost";
}

/// What serves the section, on the simulated host. The second library with the first, which serves
/// ends of its associations; the first alone, as where other providers serve the hardware.
inline LoadedLibrary loadedFor(const broker::RegistrationSection& section) {
  if (isOfHostLibrary(section)) {
    return LoadedLibrary(ORV_SIMULATED_LIBRARY, ORV_SIMULATED_HOST_LIBRARY);
  }
  return LoadedLibrary(ORV_SIMULATED_LIBRARY);
}

/// The sections of that type, in the order of the files.
inline std::vector<broker::RegistrationSection> sectionsOfKind(
    bool broker::RegistrationSection::*kind) {
  std::vector<broker::RegistrationSection> sections;
  for (const broker::RegistrationSection& section : registeredSections()) {
    if (section.*kind) sections.push_back(section);
  }
  return sections;
}

inline std::string sectionName(const testing::TestParamInfo<broker::RegistrationSection>& info) {
  return info.param.className;
}

inline std::string exampleHost() {
  std::ifstream in(std::string(ORV_SOURCE_DIR) + "/tests/hosts/example.json");
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace orv::test
