#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "broker/registration.h"

/// What is registered, for tests that take their classes from there, and the host that they ask.
namespace orv::broker {

/// For the names of parameters in the messages of failed tests.
inline void PrintTo(const RegistrationSection& section, std::ostream* out) {
  *out << section.className;
}

}  // namespace orv::broker

namespace orv::test {

inline std::vector<broker::RegistrationSection> registeredSections() {
  return broker::readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/orvprovider.reg");
}

/// The sections of that type, in the order of the file.
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
