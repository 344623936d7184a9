#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "cmpi/cmpi_array.h"
#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_status.h"
#include "cmpi/cmpi_string.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::test::objectPath;

template <typename Conversion>
void expectMismatch(Conversion conversion, const std::string& what) {
  try {
    conversion();
    ADD_FAILURE() << what << " was converted";
  } catch (const CmpiStatus& status) {
    EXPECT_EQ(status.rc(), CMPI_RC_ERR_TYPE_MISMATCH) << what;
  }
}

class Data : public testing::Test {
 protected:
  orv::test::ProviderScope scope_;
};

TEST_F(Data, ConstructorsSetTheTypeOfTheirArgument) {
  const CmpiObjectPath path = scope_.path(objectPath("Orvane_EthernetPort"));
  const std::pair<CmpiData, CMPIType> rows[] = {
      {CmpiData(CMPISint8{-1}), CMPI_sint8},
      {CmpiData(CMPISint16{-1}), CMPI_sint16},
      {CmpiData(CMPISint32{-1}), CMPI_sint32},
      {CmpiData(CMPISint64{-1}), CMPI_sint64},
      {CmpiData(CMPIUint8{1}), CMPI_uint8},
      {CmpiData(CMPIUint16{1}), CMPI_uint16},
      {CmpiData(CMPIUint32{1}), CMPI_uint32},
      {CmpiData(CMPIUint64{1}), CMPI_uint64},
      {CmpiData(std::uint64_t{1}), CMPI_uint64},
      {CmpiData(CMPIReal32{1}), CMPI_real32},
      {CmpiData(CMPIReal64{1}), CMPI_real64},
      {CmpiData("text"), CMPI_chars},
      {CmpiData(CmpiString("text")), CMPI_string},
      {CmpiData(CmpiDateTime(0, false)), CMPI_dateTime},
      {CmpiData(CmpiArray(1, CMPI_uint16)), CMPI_uint16A},
      {CmpiData(CmpiArray(1, CMPI_string)), CMPI_stringA},
      {CmpiData(path), CMPI_ref},
      {CmpiData(CmpiInstance(path)), CMPI_instance},
      {CmpiBooleanData(true), CMPI_boolean},
  };
  for (const auto& [data, type] : rows) {
    EXPECT_EQ(data.getType(), type);
    EXPECT_FALSE(data.isNullValue()) << type;
    EXPECT_FALSE(data.isNotFound()) << type;
  }
}

TEST_F(Data, NothingIsANullOfNoType) {
  EXPECT_EQ(CmpiData().getType(), CMPI_null);
  EXPECT_TRUE(CmpiData().isNullValue());
  EXPECT_FALSE(CmpiData().isNotFound());
}

TEST_F(Data, NullObjectsAreNullValuesOfTheirType) {
  const std::pair<CmpiData, CMPIType> rows[] = {
      {CmpiData(static_cast<const char*>(nullptr)), CMPI_chars},
      {CmpiData(CmpiString()), CMPI_string},
      {CmpiData(CmpiDateTime(nullptr)), CMPI_dateTime},
      {CmpiData(CmpiObjectPath(nullptr)), CMPI_ref},
      {CmpiData(CmpiInstance(static_cast<const CMPIInstance*>(nullptr))), CMPI_instance},
  };
  for (const auto& [data, type] : rows) {
    EXPECT_EQ(data.getType(), type);
    EXPECT_TRUE(data.isNullValue()) << type;
    EXPECT_EQ(data.passedValue(), nullptr) << type;
  }
}

TEST_F(Data, EveryConversionTakesItsOwnTypesOnly) {
  const CmpiObjectPath path = scope_.path(objectPath("Orvane_EthernetPort"));
  const CmpiData samples[] = {
      CmpiData(CMPISint8{1}),
      CmpiData(CMPISint16{1}),
      CmpiData(CMPISint32{1}),
      CmpiData(CMPISint64{1}),
      CmpiData(CMPIUint8{1}),
      CmpiData(CMPIUint16{1}),
      CmpiData(CMPIUint32{1}),
      CmpiData(CMPIUint64{1}),
      CmpiData(CMPIReal32{1}),
      CmpiData(CMPIReal64{1}),
      CmpiData("text"),
      CmpiData(CmpiString("text")),
      CmpiData(CmpiDateTime(0, false)),
      CmpiData(CmpiArray(1, CMPI_uint16)),
      CmpiData(path),
      CmpiData(CmpiInstance(path)),
      CmpiBooleanData(true),
      CmpiData(CMPIData{CMPI_char16, CMPI_goodValue, {}}),
      CmpiData(),
  };
  struct Conversion {
    const char* name;
    std::vector<CMPIType> accepted;
    std::function<void(const CmpiData&)> convert;
  };
  const Conversion conversions[] = {
      {"sint8", {CMPI_sint8}, [](auto& d) { (void)CMPISint8(d); }},
      {"sint16", {CMPI_sint16}, [](auto& d) { (void)CMPISint16(d); }},
      {"sint32", {CMPI_sint32}, [](auto& d) { (void)CMPISint32(d); }},
      {"sint64", {CMPI_sint64}, [](auto& d) { (void)CMPISint64(d); }},
      {"uint8", {CMPI_uint8, CMPI_boolean}, [](auto& d) { (void)CMPIUint8(d); }},
      {"uint16", {CMPI_uint16, CMPI_char16}, [](auto& d) { (void)CMPIUint16(d); }},
      {"uint32", {CMPI_uint32}, [](auto& d) { (void)CMPIUint32(d); }},
      {"uint64", {CMPI_uint64}, [](auto& d) { (void)CMPIUint64(d); }},
      {"real32", {CMPI_real32}, [](auto& d) { (void)CMPIReal32(d); }},
      {"real64", {CMPI_real64}, [](auto& d) { (void)CMPIReal64(d); }},
      {"string", {CMPI_string, CMPI_chars}, [](auto& d) { (void)CmpiString(d); }},
      {"date-time", {CMPI_dateTime}, [](auto& d) { (void)CmpiDateTime(d); }},
      {"array", {CMPI_uint16A}, [](auto& d) { (void)CmpiArray(d); }},
      {"path", {CMPI_ref}, [](auto& d) { (void)CmpiObjectPath(d); }},
      {"instance", {CMPI_instance}, [](auto& d) { (void)CmpiInstance(d); }},
  };
  for (const Conversion& conversion : conversions) {
    for (const CmpiData& sample : samples) {
      const auto& accepted = conversion.accepted;
      if (std::find(accepted.begin(), accepted.end(), sample.getType()) != accepted.end()) {
        EXPECT_NO_THROW(conversion.convert(sample)) << conversion.name;
      } else {
        expectMismatch([&] { conversion.convert(sample); },
                       std::string(conversion.name) + " of " + std::to_string(sample.getType()));
      }
    }
  }
}

TEST_F(Data, ValuesSurviveTheirConversion) {
  EXPECT_EQ(CMPISint8(CmpiData(CMPISint8{-128})), -128);
  EXPECT_EQ(CMPISint16(CmpiData(CMPISint16{-32768})), -32768);
  EXPECT_EQ(CMPISint32(CmpiData(CMPISint32{-5})), -5);
  EXPECT_EQ(CMPISint64(CmpiData(CMPISint64{-5000000000})), -5000000000);
  EXPECT_EQ(CMPIUint8(CmpiData(CMPIUint8{255})), 255);
  EXPECT_EQ(CMPIUint16(CmpiData(CMPIUint16{65535})), 65535);
  EXPECT_EQ(CMPIUint32(CmpiData(CMPIUint32{4294967295})), 4294967295);
  EXPECT_EQ(CMPIUint64(CmpiData(CMPIUint64{18446744073709551615U})), 18446744073709551615U);
  EXPECT_EQ(CMPIReal64(CmpiData(CMPIReal64{0.5})), 0.5);
  EXPECT_EQ(CMPIUint8(CmpiBooleanData(true)), 1);
  EXPECT_STREQ(CmpiString(CmpiData("chars")).charPtr(), "chars");
  EXPECT_STREQ(CmpiString(CmpiData(CmpiString("string"))).charPtr(), "string");
}

TEST_F(Data, NullValueOfTheRightTypeIsANullObjectOrZero) {
  const auto nullOf = [](CMPIType type) {
    CMPIData data{type, CMPI_nullValue, {}};
    data.value.uint64 = 0xabcdef;  // never looked at
    return CmpiData(data);
  };
  EXPECT_EQ(CMPIUint64(nullOf(CMPI_uint64)), 0u);
  EXPECT_EQ(CMPISint8(nullOf(CMPI_sint8)), 0);
  EXPECT_EQ(CMPIUint8(nullOf(CMPI_boolean)), 0);
  EXPECT_EQ(CMPIReal32(nullOf(CMPI_real32)), 0.0F);
  EXPECT_TRUE(CmpiString(nullOf(CMPI_string)).isNull());
  EXPECT_TRUE(CmpiDateTime(nullOf(CMPI_dateTime)).isNull());
  EXPECT_TRUE(CmpiArray(nullOf(CMPI_uint16A)).isNull());
  EXPECT_TRUE(CmpiObjectPath(nullOf(CMPI_ref)).isNull());
  EXPECT_TRUE(CmpiInstance(nullOf(CMPI_instance)).isNull());
}

TEST_F(Data, NotFoundIsBothAbsentAndNull) {
  EXPECT_TRUE(CmpiData::notFound().isNotFound());
  EXPECT_TRUE(CmpiData::notFound().isNullValue());
}

TEST_F(Data, CharsArePassedAsTheTextItself) {
  const char* text = "text";
  EXPECT_EQ(static_cast<const void*>(CmpiData(text).passedValue()), text);
  const CmpiData number(CMPIUint16{7});
  ASSERT_NE(number.passedValue(), nullptr);
  EXPECT_EQ(number.passedValue()->uint16, 7);
}

}  // namespace
