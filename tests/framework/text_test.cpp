#include "framework/text.h"

#include <gtest/gtest.h>
#include <strings.h>

#include "cmpi/cmpi_status.h"
#include "framework/object_identity.h"
#include "tests/support/provider_scope.h"
#include "tests/support/turkish_locale.h"

namespace ORV {
namespace {

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

}  // namespace
}  // namespace ORV
