#include "broker/wql.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
#include <map>

#include "broker/class_repository.h"

namespace orv::broker {
namespace {

using testing::ElementsAre;

WqlSubject subject() {
  static const std::map<std::string, Value, NameLess> values = {
      {"Number", Value::ofUnsigned(CMPI_uint16, 5)},
      {"Negative", Value::ofSigned(CMPI_sint32, -5)},
      {"Big", Value::ofUnsigned(CMPI_uint64, 18446744073709551615ULL)},
      {"Ratio", Value::ofReal(CMPI_real64, 2.5)},
      {"Text", Value::ofString("hello world")},
      {"Flag", Value::ofBoolean(true)},
      {"Nothing", Value::ofNull(CMPI_string)},
      {"Time", Value::ofDateTime({"20200913122640.000000+000", 1600000000000000, false})},
      {"Inner", Value::ofInstance(
                    Instance{{"", "ns", "Child", {}}, {{"Name", Value::ofString("inner")}}, {}})},
  };
  WqlSubject out;
  out.property = [](const std::string& name) {
    const auto place = values.find(name);
    return place != values.end() ? std::optional<Value>(place->second) : std::nullopt;
  };
  out.isA = [](const std::string& className, const std::string& ancestor) {
    return sameName(className, ancestor) || (className == "Child" && ancestor == "Parent");
  };
  return out;
}

/// Numbers as a German writes them.
struct Commas : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

bool evaluate(const std::string& condition) {
  return holds(*parseWql("SELECT * FROM C WHERE " + condition).condition, subject());
}

TEST(Wql, ConditionsThatHold) {
  for (const char* condition : {"Number = 5",
                                "number <> 4",
                                "Number != 4",
                                "Number < 6",
                                "Number <= 5",
                                "Number > 4.5",
                                "Number >= 5",
                                "Negative < 0",
                                "Negative = -5",
                                "Big = 18446744073709551615",
                                "Big > 18446744073709551614",
                                "Ratio = 2.5",
                                "Ratio < 3",
                                "Text = 'hello world'",
                                "Text = \"hello world\"",
                                "Text LIKE 'hello%'",
                                "Text LIKE '%o_w%'",
                                "Text NOT LIKE 'x%'",
                                "Flag = TRUE",
                                "Flag <> false",
                                "Nothing IS NULL",
                                "Missing IS NULL",
                                "Text IS NOT NULL",
                                "Nothing = NULL",
                                "Text <> NULL",
                                "Time = '20200913142640.000000+120'",
                                "Time > '20200913122639.999999+000'",
                                "Inner ISA Parent",
                                "Inner ISA 'Child'",
                                "Inner.Name = 'inner'",
                                "NOT Number = 4",
                                "Number = 4 OR Flag = TRUE",
                                "Number = 5 AND (Flag = FALSE OR Text > 'a')",
                                "not (Number = 5 and Flag = false)"}) {
    EXPECT_TRUE(evaluate(condition)) << condition;
  }
}

TEST(Wql, ConditionsThatDoNotHold) {
  for (const char* condition :
       {"Number = 4", "Number = '5'", "Number < 5", "Text = 'Hello world'", "Text < 5",
        "Text LIKE 'hello'", "Text LIKE '_'", "Nothing = ''", "Nothing <> 'x'", "Missing = 1",
        "Missing <> 1", "Flag = 1", "Inner ISA Other", "Text ISA Parent", "Inner.Other IS NOT NULL",
        "Text.Deep = 'x'", "Big = -1", "Number = 5 AND Flag = FALSE",
        "Number = 4 AND Flag = TRUE OR Flag = FALSE"}) {
    EXPECT_FALSE(evaluate(condition)) << condition;
  }
}

TEST(Wql, ProjectionAndClassAreRead) {
  const WqlQuery query = parseWql("select A, b From Some_Class");
  EXPECT_THAT(*query.projection, ElementsAre("A", "b"));
  EXPECT_EQ(query.className, "Some_Class");
  EXPECT_FALSE(query.condition);
  EXPECT_FALSE(parseWql("SELECT * FROM C").projection);
}

TEST(Wql, QuotesInsideTextsAreDoubledOrEscaped) {
  const WqlQuery query = parseWql("SELECT * FROM C WHERE A = 'it''s' AND B = \"a\\\"b\"");
  EXPECT_EQ(query.condition->operands[0].comparison.literal.text(), "it's");
  EXPECT_EQ(query.condition->operands[1].comparison.literal.text(), "a\"b");
}

TEST(Wql, WhatIsNoQueryIsRefusedWithAPlace) {
  for (const char* text :
       {"", "SELECT", "SELECT *", "SELECT * FROM", "SELECT , FROM C", "SELECT A B FROM C",
        "SELECT * FROM C WHERE", "SELECT * FROM C extra", "SELECT * FROM C WHERE A",
        "SELECT * FROM C WHERE A =", "SELECT * FROM C WHERE A = 'open",
        "SELECT * FROM C WHERE (A = 1", "SELECT * FROM C WHERE A = 1 AND",
        "SELECT * FROM C WHERE A LIKE 5", "SELECT * FROM C WHERE A < NULL",
        "SELECT * FROM C WHERE A = 1x", "SELECT * FROM C WHERE A = -",
        "SELECT * FROM C WHERE A = 5.5.5", "SELECT * FROM C WHERE A # 1"}) {
    EXPECT_THROW(parseWql(text), WqlError) << text;
  }
  try {
    parseWql("SELECT * FORM C");
  } catch (const WqlError& error) {
    EXPECT_STREQ(error.what(), "character 10: expected FROM");
  }
}

TEST(Wql, DeepNestingIsRefusedNotFollowed) {
  const std::string deep(100000, '(');
  EXPECT_THROW(parseWql("SELECT * FROM C WHERE " + deep), WqlError);
  std::string nots;
  for (int i = 0; i < 100000; ++i) nots += "NOT ";
  EXPECT_THROW(parseWql("SELECT * FROM C WHERE " + nots + "A = 1"), WqlError);
}

TEST(Wql, NegationMovesIntoTheComparisonsOfANormalForm) {
  const WqlQuery query = parseWql("SELECT * FROM C WHERE NOT (A = 1 OR (B < 2 AND C LIKE 'x'))");
  const auto form = normalForm(*query.condition, true);
  ASSERT_TRUE(form);
  ASSERT_EQ(form->size(), 2U);
  EXPECT_EQ((*form)[0][0].op, CMPI_PredOp_NotEquals);
  EXPECT_EQ((*form)[0][1].op, CMPI_PredOp_GreaterThanOrEquals);
  EXPECT_EQ((*form)[1][1].op, CMPI_PredOp_NotLike);
}

/// (A = 0 OR B = 0) AND (A = 1 OR B = 1) AND ...: its disjunction has 2^13 members.
std::string largeProduct() {
  std::string condition = "(A = 0 OR B = 0)";
  for (int i = 1; i < 13; ++i) {
    const std::string number = std::to_string(i);
    condition += " AND (A = " + number + " OR B = " + number + ")";
  }
  return condition;
}

TEST(Wql, ANormalFormIsWholeOrAbsent) {
  const std::string product = largeProduct();
  for (const std::string& text : {product, "(" + product + ") OR C = 1", "C = 1 OR " + product,
                                  "C = 1 AND (D = 1 OR " + product + ")"}) {
    const WqlQuery query = parseWql("SELECT * FROM T WHERE " + text);
    EXPECT_FALSE(normalForm(*query.condition, true)) << text;
  }
  const auto conjunction =
      normalForm(*parseWql("SELECT * FROM T WHERE " + product).condition, false);
  ASSERT_TRUE(conjunction);
  EXPECT_EQ(conjunction->size(), 13U);
}

TEST(Wql, ANormalFormHasABoundAlsoWhereListsAreJoined) {
  std::string text = "SELECT * FROM T WHERE A = 0";
  for (int i = 1; i < 4096; ++i) text += " OR A = " + std::to_string(i);
  const auto largest = normalForm(*parseWql(text).condition, true);
  ASSERT_TRUE(largest);
  EXPECT_EQ(largest->size(), 4096U);
  text += " OR A = 4096";
  EXPECT_FALSE(normalForm(*parseWql(text).condition, true));
  EXPECT_TRUE(normalForm(*parseWql(text).condition, false));
}

TEST(Wql, NumbersAreReadAndPrintedAlikeInEveryLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new Commas));
  EXPECT_TRUE(evaluate("Ratio = 2.5 AND Ratio > -1e3"));
  EXPECT_EQ(Value::ofReal(CMPI_real64, 12345.5).toText(), "12345.5");
  EXPECT_EQ(Value::ofReal(CMPI_real64, 0.1).toText(), "0.10000000000000001");
  std::locale::global(before);
}

TEST(Wql, ANumberIsReadToItsEnd) {
  for (const char* text : {"Ratio = 2.5x", "Ratio = 1e", "Ratio = -", "Ratio = 0x10"}) {
    EXPECT_THROW(evaluate(text), WqlError) << text;
  }
}

TEST(DataTypes, AreKnownByTheirNames) {
  EXPECT_EQ(dataTypeNamed("uint16"), CMPI_uint16);
  EXPECT_EQ(dataTypeNamed("DateTime"), CMPI_dateTime);
  for (const char* other : {"null", "instance", "chars", "uint16[]", ""}) {
    EXPECT_EQ(dataTypeNamed(other), std::nullopt) << other;
  }
}

TEST(Statuses, HaveANameAndAText) {
  EXPECT_EQ(statusName(CMPI_RC_ERR_NOT_FOUND), "CMPI_RC_ERR_NOT_FOUND (6)");
  EXPECT_STREQ(statusText(CMPI_RC_ERR_INVALID_CLASS), "Class not found");
  EXPECT_STREQ(statusText(static_cast<CMPIrc>(77)), "The provider gave no reason");
}

}  // namespace
}  // namespace orv::broker
