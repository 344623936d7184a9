#include "framework/text.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <vector>

#include "cmpi/cmpi_status.h"
#include "framework/object_identity.h"
#include "tests/support/provider_scope.h"
#include "tests/support/turkish_locale.h"

namespace ORV {
namespace {

using orv::broker::Value;

TEST(Names, CountWithoutRegardToCase) {
  EXPECT_TRUE(sameName("Orvane_EthernetPort", "oRVANE_ethernetport"));
  EXPECT_TRUE(sameName("", ""));
  EXPECT_FALSE(sameName("Orvane_EthernetPort", "Orvane_EthernetPor"));
}

TEST(Names, CountWithoutRegardToCaseInEveryLocale) {
  const orv::test::TurkishLocale locale;
  if (!locale.isThere()) GTEST_SKIP() << "localedef makes no Turkish locale here";
  ASSERT_NE(tolower('I'), 'i') << "the C library folds as in English";
  EXPECT_TRUE(sameName("Orvane_EPStatistics", "ORVANE_EPSTATISTICS"));
  EXPECT_TRUE(sameName("ORVANE_EPSTATISTICS", "orvane_epstatistics"));
  EXPECT_FALSE(sameName("\xfd", "I")) << "a dotless i is another letter";

  orv::test::ProviderScope scope;
  const CmpiObjectPath upper("ROOT/CIMV2", "ORVANE_EPSTATISTICS");
  const CmpiObjectPath lower("root/cimv2", "orvane_epstatistics");
  EXPECT_TRUE(upper == lower);
  EXPECT_EQ(objectIdentity(upper, ""), objectIdentity(lower, ""));
}

TEST(Names, NullEqualsNothing) {
  EXPECT_FALSE(sameName(nullptr, "a"));
  EXPECT_FALSE(sameName("a", nullptr));
  EXPECT_FALSE(sameName(nullptr, nullptr));
}

TEST(Filters, NullAndEmptyAreNotGiven) {
  EXPECT_FALSE(isGiven(nullptr));
  EXPECT_FALSE(isGiven(""));
  EXPECT_TRUE(isGiven(" "));
}

TEST(Filters, OneThatIsNotGivenAllowsEveryName) {
  for (const char* filter : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_TRUE(passesFilter(filter, "Antecedent"));
    EXPECT_TRUE(passesFilter(filter, ""));
  }
}

TEST(Filters, OneThatIsGivenAllowsItsNameAlone) {
  EXPECT_TRUE(passesFilter("Antecedent", "Antecedent"));
  EXPECT_TRUE(passesFilter("aNTECEDENT", "Antecedent"));
  EXPECT_FALSE(passesFilter("Antecedent", "Dependent"));
  EXPECT_FALSE(passesFilter("Antecedent", ""));
  EXPECT_FALSE(passesFilter("Antecedent", nullptr));
  EXPECT_FALSE(passesFilter(" ", "Antecedent"));
}

class Texts : public testing::Test {
 protected:
  orv::test::ProviderScope scope_;
};

TEST_F(Texts, NullBecomesEmpty) {
  EXPECT_EQ(textOf(CmpiString()), "");
  EXPECT_EQ(textOf(CmpiString("a")), "a");
}

TEST_F(Texts, AbsentAndNullDataHaveNoText) {
  EXPECT_EQ(textOf(CmpiData::notFound()), std::nullopt);
  EXPECT_EQ(textOf(CmpiData()), std::nullopt);
  EXPECT_EQ(textOf(CmpiData(static_cast<const char*>(nullptr))), std::nullopt);
}

TEST_F(Texts, DataOfBothTextTypesIsRead) {
  EXPECT_EQ(textOf(CmpiData("chars")), "chars");
  EXPECT_EQ(textOf(CmpiData(CmpiString("string"))), "string");
}

TEST_F(Texts, OtherTypesAreATypeMismatch) {
  EXPECT_THROW(textOf(CmpiData(CMPIUint32{5})), CmpiStatus);
}

TEST_F(Texts, ClassAndNamespaceOfAPath) {
  const CmpiObjectPath path = scope_.path(orv::test::objectPath("A_Class", {}, "root/x"));
  EXPECT_EQ(classNameOf(path), "A_Class");
  EXPECT_EQ(nameSpaceOf(path), "root/x");
}

class Keys : public Texts {
 protected:
  CmpiObjectPath withKey(const Value& value) {
    orv::broker::ObjectPath path = orv::test::objectPath("A_Class");
    path.keys.push_back({"Key", value});
    return scope_.path(path);
  }
  static std::vector<Value> numbersAndFlags() {
    return {Value::ofUnsigned(CMPI_uint32, 5), Value::ofSigned(CMPI_sint8, -5),
            Value::ofBoolean(true), Value::ofNull(CMPI_uint32)};
  }
};

TEST_F(Keys, ATextIsRead) {
  EXPECT_EQ(textKey(withKey(Value::ofString("a")), "Key"), "a");
  EXPECT_EQ(textKey(withKey(Value::ofString("a")), "kEY"), "a");
  EXPECT_EQ(textKey(withKey(Value::ofString("")), "Key"), "");
}

TEST_F(Keys, WhatIsNoTextIsAbsentAsText) {
  EXPECT_EQ(textKey(withKey(Value::ofString("a")), "Other"), std::nullopt);
  EXPECT_EQ(textKey(withKey(Value::ofNull(CMPI_string)), "Key"), std::nullopt);
  EXPECT_EQ(textKey(withKey(Value::ofReference(orv::test::objectPath("B"))), "Key"), std::nullopt);
  for (const Value& value : numbersAndFlags()) {
    EXPECT_EQ(textKey(withKey(value), "Key"), std::nullopt) << value.toText();
  }
}

TEST_F(Keys, AReferenceIsRead) {
  const CmpiObjectPath path = withKey(Value::ofReference(orv::test::objectPath("B", {{"K", "v"}})));
  const CmpiObjectPath target = referenceKey(path, "Key");
  ASSERT_FALSE(target.isNull());
  EXPECT_EQ(classNameOf(target), "B");
  EXPECT_EQ(textKey(target, "K"), "v");
}

TEST_F(Keys, WhatIsNoReferenceIsANullPath) {
  const Value reference = Value::ofReference(orv::test::objectPath("B"));
  EXPECT_TRUE(referenceKey(withKey(reference), "Other").isNull());
  EXPECT_TRUE(referenceKey(withKey(Value::ofNull(CMPI_ref)), "Key").isNull());
  for (const char* text : {"", "root/cimv2:B.K=\"v\""}) {
    EXPECT_TRUE(referenceKey(withKey(Value::ofString(text)), "Key").isNull()) << text;
  }
  for (const Value& value : numbersAndFlags()) {
    EXPECT_TRUE(referenceKey(withKey(value), "Key").isNull()) << value.toText();
  }
}

}  // namespace
}  // namespace ORV
