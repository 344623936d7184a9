#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/library/registered_sections.h"
#include "tests/support/library_fixture.h"

// What the libraries publish on the example host against the schema: a property that is not
// declared, or set with another type, confuses clients and can end an object manager.
namespace orv::test {
namespace {

/// Wanted deviations, as "class.property": set with a name that the class does not declare, or with
/// another type than it declares.
const std::set<std::string> kDeviations = {};

TEST(PublishedTypes, AreTheDeclaredOnes) {
  const SimulatedHostFile host(exampleHost());
  const broker::ClassRepository schema = bothSchemas();
  LoadedLibrary library(ORV_SIMULATED_LIBRARY, ORV_SIMULATED_HOST_LIBRARY);
  int checked = 0;
  for (const auto& section : sectionsOfKind(&broker::RegistrationSection::instance)) {
    const auto* declared = schema.find(section.className);
    ASSERT_NE(declared, nullptr) << section.className;
    for (const auto& instance :
         library->enumerateInstances("root/cimv2", section.className).instances) {
      for (const std::string& name : instance.setOrder) {
        const std::string place = section.className + "." + name;
        if (kDeviations.count(place) > 0) continue;
        const auto* property = declared->property(name);
        ASSERT_NE(property, nullptr) << place << " is not declared";
        EXPECT_EQ(broker::typeName(instance.property(name)->type), broker::typeName(property->type))
            << place;
        EXPECT_EQ(name, property->name) << place << " is declared in another spelling";
        EXPECT_EQ(property->declaringClass, section.className)
            << place << " is set, so that the class itself says what it means and where it is from";
        ++checked;
      }
    }
  }
  EXPECT_GT(checked, 100);
}

}  // namespace
}  // namespace orv::test
