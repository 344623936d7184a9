#include "notation/property_order.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/sample.h"

namespace orv::notation {
namespace {

using tool::sampleClasses;
using tool::sampleInstance;

std::vector<std::string> names(const broker::ClassDefinition* definition, bool withNulls) {
  const broker::Instance instance = sampleInstance("a");
  std::vector<std::string> result;
  for (const broker::Property* p : orderedProperties(instance, definition, withNulls)) {
    result.push_back(p->name);
  }
  return result;
}

TEST(PropertyOrder, KeysThenDeclaredThenOthers) {
  const broker::ClassRepository classes = sampleClasses();
  EXPECT_THAT(names(classes.find("T_Port"), true),
              testing::ElementsAre("Id", "Caption", "State", "Status", "Extra"));
}

TEST(PropertyOrder, NullsOnRequestOnly) {
  const broker::ClassRepository classes = sampleClasses();
  EXPECT_THAT(names(classes.find("T_Port"), false),
              testing::ElementsAre("Id", "State", "Status", "Extra"));
}

TEST(PropertyOrder, WithoutAClassAsTheyAre) {
  EXPECT_THAT(names(nullptr, false), testing::ElementsAre("Extra", "Status", "State", "Id"));
}

}  // namespace
}  // namespace orv::notation
