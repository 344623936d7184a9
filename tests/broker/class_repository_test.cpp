#include "broker/class_repository.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace orv::broker {
namespace {

PropertyDefinition makeProperty(const std::string& name, CMPIType type, bool key = false) {
  PropertyDefinition property;
  property.name = name;
  property.type = type;
  property.key = key;
  return property;
}

ClassDefinition makeClass(const std::string& name, const std::string& superclass,
                          std::vector<PropertyDefinition> properties = {}) {
  ClassDefinition definition;
  definition.name = name;
  definition.superclass = superclass;
  definition.properties = std::move(properties);
  return definition;
}

std::vector<std::string> names(const std::vector<const ClassDefinition*>& classes) {
  std::vector<std::string> result;
  for (const ClassDefinition* c : classes) result.push_back(c->name);
  return result;
}

std::vector<std::string> propertyNames(const ClassDefinition& definition) {
  std::vector<std::string> result;
  for (const PropertyDefinition& p : definition.properties) result.push_back(p.name);
  return result;
}

class ClassRepositoryTest : public testing::Test {
 protected:
  ClassRepositoryTest() {
    classes_.add(makeClass(
        "T_Root", "", {makeProperty("Id", CMPI_string, true), makeProperty("Flag", CMPI_boolean)}));
    classes_.add(makeClass("T_Middle", "t_root", {makeProperty("Size", CMPI_uint32)}));
    classes_.add(
        makeClass("T_Leaf", "T_Middle",
                  {makeProperty("Extra", CMPI_string), makeProperty("FLAG", CMPI_uint16)}));
    classes_.add(makeClass("T_Other", ""));
  }

  ClassRepository classes_;
};

TEST_F(ClassRepositoryTest, FindsClassesWithoutRegardToCase) {
  ASSERT_NE(classes_.find("t_LEAF"), nullptr);
  EXPECT_EQ(classes_.find("t_LEAF")->name, "T_Leaf");
  EXPECT_EQ(classes_.find("T_Nothing"), nullptr);
  EXPECT_EQ(classes_.find(""), nullptr);
}

TEST_F(ClassRepositoryTest, InheritedPropertiesStandFirstAndOverridesInTheirPlace) {
  EXPECT_THAT(propertyNames(*classes_.find("T_Leaf")),
              testing::ElementsAre("Id", "Flag", "Size", "Extra"));
}

TEST_F(ClassRepositoryTest, AnOverrideMayChangeTheTypeAndKeepsNameAndOrigin) {
  const PropertyDefinition* flag = classes_.find("T_Leaf")->property("flag");
  ASSERT_NE(flag, nullptr);
  EXPECT_EQ(flag->name, "Flag");
  EXPECT_EQ(flag->type, CMPI_uint16);
  EXPECT_EQ(flag->originClass, "T_Root");
  EXPECT_EQ(classes_.find("T_Middle")->property("Flag")->type, CMPI_boolean);
}

TEST_F(ClassRepositoryTest, KeyIsInheritedThroughOverride) {
  classes_.add(makeClass("T_Renamed", "T_Leaf", {makeProperty("Id", CMPI_string)}));
  EXPECT_TRUE(classes_.find("T_Renamed")->property("Id")->key);
}

TEST_F(ClassRepositoryTest, EmbeddingAndDefaultAreInheritedThroughOverride) {
  PropertyDefinition source = makeProperty("Source", CMPI_string);
  source.embeddedObject = true;
  source.defaultValue = {{"x"}};
  classes_.add(makeClass("T_Base", "", {source}));
  classes_.add(makeClass("T_Sub", "T_Base", {makeProperty("Source", CMPI_string)}));
  const PropertyDefinition* property = classes_.find("T_Sub")->property("Source");
  EXPECT_TRUE(property->embeddedObject);
  ASSERT_TRUE(property->defaultValue.has_value());
  EXPECT_THAT(*property->defaultValue, testing::ElementsAre("x"));
}

TEST_F(ClassRepositoryTest, AssociationAndIndicationAreInheritedAbstractIsNot) {
  ClassDefinition base = makeClass("T_Association", "");
  base.association = base.indication = base.abstract = true;
  base.qualifiers = {{"Abstract", CMPI_boolean, {"true"}},
                     {"Version", CMPI_string, {"2.0"}},
                     {"Association", CMPI_boolean, {"true"}}};
  classes_.add(base);
  classes_.add(makeClass("T_SubAssociation", "T_Association"));
  const ClassDefinition& sub = *classes_.find("T_SubAssociation");
  EXPECT_TRUE(sub.association);
  EXPECT_TRUE(sub.indication);
  EXPECT_FALSE(sub.abstract);
  ASSERT_EQ(sub.qualifiers.size(), 1u);
  EXPECT_EQ(sub.qualifiers[0].name, "Association");
}

TEST_F(ClassRepositoryTest, OwnQualifiersHideInheritedOnes) {
  ClassDefinition base = makeClass("T_Described", "");
  base.qualifiers = {{"Description", CMPI_string, {"base"}}};
  classes_.add(base);
  ClassDefinition sub = makeClass("T_DescribedToo", "T_Described");
  sub.qualifiers = {{"description", CMPI_string, {"own"}}};
  classes_.add(sub);
  ASSERT_EQ(classes_.find("T_DescribedToo")->qualifiers.size(), 1u);
  EXPECT_EQ(classes_.find("T_DescribedToo")->qualifiers[0].values[0], "own");
}

TEST_F(ClassRepositoryTest, IsAWalksTheChainAndNeedsNoLookUpForEqualNames) {
  EXPECT_TRUE(classes_.isA("T_Leaf", "T_Root"));
  EXPECT_TRUE(classes_.isA("t_leaf", "T_MIDDLE"));
  EXPECT_FALSE(classes_.isA("T_Root", "T_Leaf"));
  EXPECT_FALSE(classes_.isA("T_Leaf", "T_Other"));
  EXPECT_TRUE(classes_.isA("Unknown", "UNKNOWN"));
  EXPECT_FALSE(classes_.isA("Unknown", "T_Root"));
}

TEST_F(ClassRepositoryTest, ListsSubclassesParentsFirstWithoutTheClassItself) {
  EXPECT_THAT(names(classes_.subclasses("T_Root", true)),
              testing::ElementsAre("T_Middle", "T_Leaf"));
  EXPECT_THAT(names(classes_.subclasses("T_Root", false)), testing::ElementsAre("T_Middle"));
  EXPECT_THAT(names(classes_.subclasses("T_Leaf", true)), testing::IsEmpty());
}

TEST_F(ClassRepositoryTest, RootClassesAreTheSubclassesOfNothing) {
  EXPECT_THAT(names(classes_.subclasses("", false)), testing::ElementsAre("T_Root", "T_Other"));
}

TEST_F(ClassRepositoryTest, RefusesANameTwiceAndAnUnknownSuperclass) {
  EXPECT_THROW(classes_.add(makeClass("t_other", "")), std::invalid_argument);
  EXPECT_THROW(classes_.add(makeClass("T_New", "T_Unknown")), std::invalid_argument);
  EXPECT_EQ(classes_.find("T_New"), nullptr);
  EXPECT_EQ(classes_.all().size(), 4u);
}

ClassDefinition versioned(ClassDefinition definition, const std::string& version) {
  definition.qualifiers.push_back({"Version", CMPI_string, {version}});
  return definition;
}

TEST_F(ClassRepositoryTest, TheHigherVersionOfAClassCounts) {
  EXPECT_TRUE(classes_.add(versioned(makeClass("T_New", "T_Other"), "1.2.0")));
  const ClassDefinition* found = classes_.find("T_New");
  for (const char* version : {"1.2.0", "1.2", "1", "0.9.9", "", "x", "1.1.99"}) {
    EXPECT_FALSE(classes_.add(versioned(makeClass("t_new", "T_Root"), version))) << version;
    EXPECT_EQ(found->superclass, "T_Other") << version;
  }
  for (const char* version : {"1.2.0.0", "1.2.1", "1.10", "2"}) {
    const std::string superclass = "T_After" + std::string(version);
    classes_.add(makeClass(superclass, "T_Root"));
    EXPECT_TRUE(classes_.add(versioned(makeClass("T_NEW", superclass), version))) << version;
    EXPECT_EQ(found->superclass, superclass);
    EXPECT_NE(found->property("Id"), nullptr);
    EXPECT_EQ(classes_.all().back(), found) << "parents precede their children";
  }
  EXPECT_EQ(classes_.find("T_New"), found);
  EXPECT_EQ(classes_.all().size(), 9u);
}

TEST_F(ClassRepositoryTest, AClassWithoutVersionIsDefinedOnce) {
  classes_.add(versioned(makeClass("T_New", ""), "1.0"));
  EXPECT_THROW(classes_.add(makeClass("T_New", "")), std::invalid_argument);
  EXPECT_THROW(classes_.add(versioned(makeClass("T_Other", ""), "1.0")), std::invalid_argument);
}

TEST_F(ClassRepositoryTest, AClassThatOthersDeriveFromIsNotReplaced) {
  classes_.add(versioned(makeClass("T_New", ""), "1.0"));
  EXPECT_THROW(classes_.add(versioned(makeClass("T_New", "T_New"), "1.1")), std::invalid_argument);
  classes_.add(makeClass("T_Below", "T_New"));
  EXPECT_THROW(classes_.add(versioned(makeClass("T_New", ""), "1.1")), std::invalid_argument);
  EXPECT_THROW(classes_.add(versioned(makeClass("T_New", "T_Below"), "1.1")),
               std::invalid_argument);
  EXPECT_FALSE(classes_.add(versioned(makeClass("T_New", ""), "1.0")));
}

TEST_F(ClassRepositoryTest, PointersSurviveAMove) {
  const ClassDefinition* leaf = classes_.find("T_Leaf");
  const ClassRepository moved = std::move(classes_);
  EXPECT_EQ(moved.find("T_Leaf"), leaf);
  EXPECT_EQ(moved.all()[2], leaf);
}

}  // namespace
}  // namespace orv::broker
