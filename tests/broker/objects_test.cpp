#include <cstdlib>
#include <ctime>
#include <limits>
#include <thread>

#include "broker/broker_state.h"
#include "broker/date_times.h"
#include "broker/testing/test_broker.h"
#include "tests/broker/support/broker_fixture.h"

namespace orv::broker {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Objects made directly, in a request of this thread.
class Objects : public testing::Test {
 protected:
  const CMPIBroker* mb() const { return Broker::cmpi(); }
  CMPIObjectPath* path(const char* className, const char* nameSpace = "root/test") {
    return mb()->eft->newObjectPath(mb(), nameSpace, className, nullptr);
  }
  CMPIInstance* instance(const char* className) {
    return mb()->eft->newInstance(mb(), path(className), &rc_);
  }
  static CMPIrc setText(CMPIInstance* on, const char* name, const char* text) {
    return on->ft->setProperty(on, name, reinterpret_cast<const CMPIValue*>(text), CMPI_chars).rc;
  }
  static CMPIrc setNumber(CMPIInstance* on, const char* name, CMPIUint64 number, CMPIType type) {
    CMPIValue value{};
    value.uint64 = number;
    return on->ft->setProperty(on, name, &value, type).rc;
  }
  Value get(CMPIInstance* from, const char* name) {
    return RequestScope::copy(from->ft->getProperty(from, name, &rc_));
  }
  static void addText(CMPIObjectPath* to, const char* name, const char* text) {
    to->ft->addKey(to, name, reinterpret_cast<const CMPIValue*>(text), CMPI_chars);
  }
  CMPIString* text(const char* content) { return mb()->eft->newString(mb(), content, nullptr); }

  TestBroker broker_{makeOptions()};
  RequestScope scope_{broker_, "Tested", "Test_Kinds"};
  CMPIStatus rc_{CMPI_RC_OK, nullptr};
};

TEST_F(Objects, NewInstanceIsFilledWithDeclaredPropertiesInReverseOrderWithDefaults) {
  const Instance made = RequestScope::copy(instance("Test_FastDisk"));
  ASSERT_EQ(made.properties.size(), 5U);
  EXPECT_EQ(made.properties[0].name, "Speed");
  EXPECT_EQ(made.properties[0].value, Value::ofNull(CMPI_uint32));
  EXPECT_EQ(made.properties[1].name, "Modes");
  EXPECT_EQ(made.properties[1].value, Value::ofNull(CMPI_uint16A));
  EXPECT_EQ(made.properties[2].name, "Size");
  EXPECT_EQ(made.properties[2].value, Value::ofUnsigned(CMPI_uint64, 5));
  EXPECT_EQ(made.properties[3].name, "Name");
  EXPECT_EQ(made.properties[4].name, "Id");
  EXPECT_THAT(made.setOrder, IsEmpty());
}

TEST_F(Objects, UndeclaredPropertiesFollowInTheOrderOfTheirFirstSetting) {
  CMPIInstance* made = instance("Test_Disk");
  EXPECT_EQ(setText(made, "zeta", "z"), CMPI_RC_OK);
  EXPECT_EQ(setText(made, "Name", "n"), CMPI_RC_OK);
  EXPECT_EQ(setNumber(made, "alpha", 1, CMPI_uint16), CMPI_RC_OK);
  EXPECT_EQ(setText(made, "ZETA", "z2"), CMPI_RC_OK);
  const Instance copy = RequestScope::copy(made);
  ASSERT_EQ(copy.properties.size(), 6U);
  EXPECT_EQ(copy.properties[4].name, "zeta");
  EXPECT_EQ(copy.properties[4].value, Value::ofString("z2"));
  EXPECT_EQ(copy.properties[5].name, "alpha");
  EXPECT_THAT(copy.setOrder, ElementsAre("zeta", "Name", "alpha", "ZETA"));
}

TEST_F(Objects, KeysOfThePathBecomeProperties) {
  CMPIObjectPath* on = path("Test_Disk");
  addText(on, "Id", "d1");
  addText(on, "Stray", "s");
  CMPIInstance* made = mb()->eft->newInstance(mb(), on, &rc_);
  EXPECT_EQ(get(made, "id"), Value::ofString("d1"));
  EXPECT_EQ(get(made, "Stray"), Value::ofString("s"));
  const ObjectPath own = RequestScope::copy(made->ft->getObjectPath(made, &rc_));
  ASSERT_EQ(own.keys.size(), 1U) << "only what the class declares a key is one";
}

TEST_F(Objects, AnUnknownClassHasNoPropertiesAndNoObjectPath) {
  CMPIInstance* made = instance("Test_Nowhere");
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->ft->getPropertyCount(made, nullptr), 0U);
  EXPECT_EQ(setText(made, "Anything", "x"), CMPI_RC_OK);
  EXPECT_EQ(made->ft->getObjectPath(made, &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_INVALID_CLASS);
}

TEST_F(Objects, ANamespaceWithALeadingSlashKnowsNoClass) {
  CMPIObjectPath* odd = path("Test_Disk", "/root/test");
  CMPIInstance* made = mb()->eft->newInstance(mb(), odd, &rc_);
  EXPECT_EQ(made->ft->getPropertyCount(made, nullptr), 0U);
  EXPECT_EQ(mb()->eft->classPathIsA(mb(), odd, "Test_Base", &rc_), 0);
}

struct SettingRow {
  const char* property;
  CMPIType type;
  CMPIrc expected;
  bool reported;
};

TEST_F(Objects, SettingChecksTheDeclaredTypeAsTheObjectManagerDoes) {
  CMPIValue text{}, time{}, ref{}, inst{}, array{}, number{};
  text.string = this->text("t");
  time.dateTime = mb()->eft->newDateTime(mb(), nullptr);
  ref.ref = path("Test_Disk");
  inst.inst = instance("Test_Disk");
  array.array = mb()->eft->newArray(mb(), 1, CMPI_string, nullptr);
  number.uint64 = 1;
  const auto valueFor = [&](CMPIType type) -> const CMPIValue* {
    if ((type & CMPI_ARRAY) != 0) return &array;
    switch (type) {
      case CMPI_string:
        return &text;
      case CMPI_dateTime:
        return &time;
      case CMPI_ref:
        return &ref;
      case CMPI_instance:
        return &inst;
      default:
        return &number;
    }
  };
  constexpr CMPIrc kOk = CMPI_RC_OK;
  constexpr CMPIrc kMismatch = CMPI_RC_ERR_TYPE_MISMATCH;
  const SettingRow rows[] = {
      {"Text", CMPI_string, kOk, false},          {"Text", CMPI_uint16, kMismatch, false},
      {"Text", CMPI_dateTime, kMismatch, false},  {"Text", CMPI_instance, kMismatch, false},
      {"Text", CMPI_stringA, kMismatch, false},   {"Time", CMPI_dateTime, kOk, false},
      {"Time", CMPI_string, kMismatch, false},    {"Link", CMPI_ref, kOk, false},
      {"Link", CMPI_string, kMismatch, false},    {"Texts", CMPI_string, kMismatch, false},
      {"Texts", CMPI_stringA, kOk, false},        {"Numbers", CMPI_stringA, kOk, false},
      {"Numbers", CMPI_uint16, kMismatch, false}, {"Inner", CMPI_instance, kOk, false},
      {"Inner", CMPI_string, kMismatch, false},   {"Typed", CMPI_instance, kOk, false},
      {"Switch", CMPI_boolean, kOk, false},       {"Switch", CMPI_uint16, kOk, false},
      {"Small", CMPI_uint64, kOk, false},         {"Signed", CMPI_real64, kOk, false},
      {"Small", CMPI_string, kMismatch, true},    {"Switch", CMPI_dateTime, kMismatch, true},
      {"Ratio", CMPI_ref, kMismatch, true},       {"Signed", CMPI_stringA, kMismatch, true},
      {"Small", CMPI_instance, kMismatch, true},  {"Text", CMPI_null, kMismatch, true},
      {"Text", CMPI_args, kMismatch, true},
  };
  for (const SettingRow& row : rows) {
    CMPIInstance* made = instance("Test_Kinds");
    const std::size_t before = scope_.reports().size();
    const CMPIStatus rc = made->ft->setProperty(made, row.property, valueFor(row.type), row.type);
    EXPECT_EQ(rc.rc, row.expected) << row.property << " set as " << typeName(row.type);
    EXPECT_EQ(scope_.reports().size() - before, row.reported ? 1U : 0U)
        << row.property << " set as " << typeName(row.type);
    if (row.reported && scope_.reports().size() > before) {
      const Report& made_ = scope_.reports().back();
      EXPECT_EQ(made_.provider, "Tested");
      EXPECT_EQ(made_.className, "Test_Kinds");
      EXPECT_EQ(made_.property, row.property);
    }
  }
}

TEST_F(Objects, ARefusedSettingChangesNothing) {
  CMPIInstance* made = instance("Test_Kinds");
  EXPECT_EQ(setNumber(made, "Text", 1, CMPI_uint32), CMPI_RC_ERR_TYPE_MISMATCH);
  EXPECT_EQ(get(made, "Text"), Value::ofString("default"));
  EXPECT_THAT(RequestScope::copy(made).setOrder, IsEmpty());
}

TEST_F(Objects, ANumberTakesTheTypeWithWhichItIsSet) {
  CMPIInstance* made = instance("Test_Kinds");
  EXPECT_EQ(setNumber(made, "Switch", 2, CMPI_uint16), CMPI_RC_OK);
  EXPECT_EQ(get(made, "Switch"), Value::ofUnsigned(CMPI_uint16, 2));
}

TEST_F(Objects, UndeclaredPropertiesKeepTheTypeOfTheirFirstSetting) {
  CMPIInstance* made = instance("Test_Disk");
  EXPECT_EQ(setText(made, "New", "text"), CMPI_RC_OK);
  EXPECT_EQ(setNumber(made, "New", 1, CMPI_uint8), CMPI_RC_ERR_TYPE_MISMATCH);
  EXPECT_EQ(get(made, "New"), Value::ofString("text"));
}

TEST_F(Objects, ANullValueKeepsItsType) {
  CMPIInstance* made = instance("Test_Kinds");
  EXPECT_EQ(made->ft->setProperty(made, "Text", nullptr, CMPI_chars).rc, CMPI_RC_OK);
  const CMPIData data = made->ft->getProperty(made, "Text", &rc_);
  EXPECT_EQ(data.type, CMPI_string);
  EXPECT_EQ(data.state, CMPI_nullValue);
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
}

TEST_F(Objects, MissingPropertyAnswersTwelveAndMissingKeySix) {
  CMPIInstance* made = instance("Test_Disk");
  CMPIData data = made->ft->getProperty(made, "Nothing", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(data.state, CMPI_notFound);
  EXPECT_EQ(data.type, CMPI_null);
  CMPIObjectPath* on = path("Test_Disk");
  data = on->ft->getKey(on, "Nothing", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(data.state, CMPI_notFound);
  EXPECT_EQ(data.type, CMPI_null);
}

TEST_F(Objects, APropertyFilterKeepsListedPropertiesAndHidesTheKeys) {
  CMPIObjectPath* on = path("Test_Disk");
  addText(on, "Id", "d1");
  CMPIInstance* made = mb()->eft->newInstance(mb(), on, &rc_);
  const char* listed[] = {"size", nullptr};
  EXPECT_EQ(made->ft->setPropertyFilter(made, listed, nullptr).rc, CMPI_RC_OK);
  EXPECT_EQ(setText(made, "Name", "dropped"), CMPI_RC_OK);
  EXPECT_EQ(setText(made, "Extra", "dropped"), CMPI_RC_OK);
  EXPECT_EQ(setNumber(made, "Size", 9, CMPI_uint64), CMPI_RC_OK);
  EXPECT_EQ(setText(made, "Id", "d2"), CMPI_RC_OK);
  made->ft->getProperty(made, "Name", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(get(made, "Id"), Value::ofString("d2")) << "readable";
  const Instance sent = RequestScope::copy(made);
  ASSERT_EQ(sent.properties.size(), 1U) << sent;
  EXPECT_EQ(sent.properties[0].name, "Size");
  EXPECT_EQ(*sent.path.key("Id"), Value::ofString("d2"));
  EXPECT_THAT(sent.setOrder, ElementsAre("Size", "Id"));
}

TEST_F(Objects, AnEmptyFilterListLeavesTheKeysOnlyAndANullListEverything) {
  CMPIInstance* made = instance("Test_Disk");
  const char* nothing[] = {nullptr};
  made->ft->setPropertyFilter(made, nullptr, nothing);
  EXPECT_EQ(made->ft->getPropertyCount(made, nullptr), 4U);
  made->ft->setPropertyFilter(made, nothing, nullptr);
  EXPECT_EQ(made->ft->getPropertyCount(made, nullptr), 1U);
  EXPECT_THAT(RequestScope::copy(made).properties, IsEmpty());
}

TEST_F(Objects, AFilterOnAnUnknownClassDropsKeysToo) {
  CMPIInstance* made = instance("Test_Nowhere");
  const char* listed[] = {"Name", nullptr};
  made->ft->setPropertyFilter(made, listed, nullptr);
  EXPECT_EQ(setText(made, "Id", "x"), CMPI_RC_OK);
  made->ft->getProperty(made, "Id", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST_F(Objects, AnObjectPathHasEveryDeclaredKeyInOrderUnsetNumbersAsZero) {
  CMPIInstance* made = instance("Test_Kinds");
  CMPIObjectPath* own = made->ft->getObjectPath(made, &rc_);
  ASSERT_EQ(own->ft->getKeyCount(own, nullptr), 4U);
  CMPIString* name = nullptr;
  CMPIData key = own->ft->getKeyAt(own, 0, &name, nullptr);
  EXPECT_EQ(RequestScope::copy(name), "Id");
  EXPECT_EQ(key.state, CMPI_nullValue);
  key = own->ft->getKeyAt(own, 1, &name, nullptr);
  EXPECT_EQ(RequestScope::copy(name), "Number");
  EXPECT_EQ(key.state, CMPI_goodValue);
  EXPECT_EQ(key.value.uint32, 0U);
  EXPECT_EQ(own->ft->getKeyAt(own, 3, &name, nullptr).state, CMPI_nullValue) << "a date-time";
  EXPECT_EQ(RequestScope::copy(own->ft->getHostname(own, nullptr)), std::nullopt);
}

TEST_F(Objects, AHostNameThatWasNeverSetIsAStringWithoutText) {
  CMPIObjectPath* on = path("Test_Disk");
  CMPIString* host = on->ft->getHostname(on, &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
  ASSERT_NE(host, nullptr);
  EXPECT_EQ(host->ft->getCharPtr(host, nullptr), nullptr);
  EXPECT_EQ(host->hdl, nullptr);
  EXPECT_EQ(on->ft->setHostname(on, "").rc, CMPI_RC_OK);
  host = on->ft->getHostname(on, nullptr);
  EXPECT_STREQ(host->ft->getCharPtr(host, nullptr), "");
}

TEST_F(Objects, ANullOverASetNameIsReported) {
  CMPIObjectPath* on = path("Test_Disk");
  EXPECT_EQ(on->ft->setNameSpace(on, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("path.setNameSpace with a null text: a crash")));
  CMPIObjectPath* bare = mb()->eft->newObjectPath(mb(), nullptr, nullptr, nullptr);
  EXPECT_EQ(bare->ft->setNameSpace(bare, nullptr).rc, CMPI_RC_OK);
  EXPECT_EQ(scope_.reports().size(), 1U);
}

TEST_F(Objects, KeysAreReplacedByNameAndAnotherTypeOverAStringIsIgnored) {
  CMPIObjectPath* on = path("Test_Disk");
  addText(on, "Id", "a");
  addText(on, "ID", "b");
  EXPECT_EQ(on->ft->getKeyCount(on, nullptr), 1U);
  CMPIValue number{};
  number.uint32 = 7;
  EXPECT_EQ(on->ft->addKey(on, "Id", &number, CMPI_uint32).rc, CMPI_RC_OK);
  EXPECT_EQ(*RequestScope::copy(on).key("Id"), Value::ofString("b"));
  EXPECT_EQ(on->ft->addKey(on, "Id", nullptr, CMPI_string).rc, CMPI_RC_OK);
  EXPECT_EQ(on->ft->getKey(on, "Id", nullptr).state, CMPI_nullValue);
  EXPECT_THAT(scope_.reports(), IsEmpty());
}

TEST_F(Objects, AKeyIndexEqualToTheCountIsReported) {
  CMPIObjectPath* on = path("Test_Disk");
  on->ft->getKeyAt(on, 0, nullptr, &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("reads past the end")));
}

TEST_F(Objects, TheTextOfAPathHasNoHost) {
  CMPIObjectPath* on = path("Test_Disk");
  on->ft->setHostname(on, "host");
  addText(on, "Id", "a b");
  CMPIValue number{};
  number.uint32 = 5;
  on->ft->addKey(on, "N", &number, CMPI_uint32);
  EXPECT_EQ(RequestScope::copy(on->ft->toString(on, nullptr)),
            "root/test:Test_Disk.Id=\"a b\",N=5");
}

class References : public Objects {
 protected:
  /// What a reference property gives back.
  Value roundTrip(CMPIObjectPath* target) {
    CMPIInstance* made = instance("Test_Kinds");
    CMPIValue value{};
    value.ref = target;
    setRc_ = made->ft->setProperty(made, "Link", &value, CMPI_ref).rc;
    const CMPIData data = made->ft->getProperty(made, "Link", nullptr);
    raw_ = data;
    return RequestScope::copy(data);
  }
  CMPIrc setRc_ = CMPI_RC_OK;
  CMPIData raw_{};
};

TEST_F(References, LoseTheHostAndBooleanKeysAndWidenNumbers) {
  CMPIObjectPath* target = path("Test_Disk");
  target->ft->setHostname(target, "far");
  addText(target, "Id", "a,b.c:d\\e");
  CMPIValue value{};
  value.sint16 = -3;
  target->ft->addKey(target, "Negative", &value, CMPI_sint16);
  value.uint8 = 3;
  target->ft->addKey(target, "Positive", &value, CMPI_uint8);
  value.boolean = 1;
  target->ft->addKey(target, "Flag", &value, CMPI_boolean);
  const ObjectPath back = roundTrip(target).reference();
  EXPECT_EQ(back, (ObjectPath{"",
                              "root/test",
                              "Test_Disk",
                              {{"Id", Value::ofString("a,b.c:d\\e")},
                               {"Negative", Value::ofSigned(CMPI_sint64, -3)},
                               {"Positive", Value::ofUnsigned(CMPI_uint64, 3)}}}));
}

TEST_F(References, WithAQuoteInAKeyReadAsANullPointerInGoodState) {
  CMPIObjectPath* target = path("Test_Disk");
  addText(target, "Id", "a\"b");
  roundTrip(target);
  EXPECT_EQ(setRc_, CMPI_RC_OK);
  EXPECT_EQ(raw_.state, CMPI_goodValue);
  EXPECT_EQ(raw_.value.ref, nullptr);
}

TEST_F(References, WithoutANamespaceAndWithAColonAreReported) {
  CMPIObjectPath* target = path("Test_Disk", "");
  addText(target, "Id", "a:b");
  roundTrip(target);
  EXPECT_EQ(setRc_, CMPI_RC_ERR_FAILED);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("without a namespace")));
  EXPECT_EQ(scope_.reports()[0].property, "Link");
}

TEST_F(References, OfMoreThan4095CharactersAreReported) {
  const std::string prefix = "root/test:Test_Disk.Id=\"\"";
  CMPIObjectPath* target = path("Test_Disk");
  addText(target, "Id", std::string(4095 - prefix.size(), 'x').c_str());
  roundTrip(target);
  EXPECT_EQ(setRc_, CMPI_RC_OK);
  addText(target, "Id", std::string(4096 - prefix.size(), 'x').c_str());
  roundTrip(target);
  EXPECT_EQ(setRc_, CMPI_RC_ERR_FAILED);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("longer than 4095")));
}

TEST_F(Objects, ArraysAnswerOneForWrongTypesAndPlaces) {
  CMPIArray* made = mb()->eft->newArray(mb(), 2, CMPI_stringA, &rc_);
  EXPECT_EQ(made->ft->getSimpleType(made, nullptr), CMPI_string);
  const auto chars = reinterpret_cast<const CMPIValue*>("text");
  EXPECT_EQ(made->ft->setElementAt(made, 0, chars, CMPI_chars).rc, CMPI_RC_OK);
  CMPIValue number{};
  EXPECT_EQ(made->ft->setElementAt(made, 1, &number, CMPI_uint16).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(made->ft->setElementAt(made, 2, chars, CMPI_chars).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(made->ft->getElementAt(made, 1, nullptr).state, CMPI_nullValue);
  const CMPIData beyond = made->ft->getElementAt(made, 2, &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
  EXPECT_EQ(beyond.state, CMPI_badValue);
  EXPECT_EQ(made->ft->setElementAt(made, 0, nullptr, CMPI_null).rc, CMPI_RC_OK);
  EXPECT_EQ(made->ft->getElementAt(made, 0, nullptr).state, CMPI_nullValue);
}

TEST_F(Objects, AnArrayOfSizeZeroGrowsByOne) {
  CMPIArray* made = mb()->eft->newArray(mb(), 0, CMPI_uint16, nullptr);
  CMPIValue number{};
  number.uint16 = 4;
  EXPECT_EQ(made->ft->setElementAt(made, 1, &number, CMPI_uint16).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(made->ft->setElementAt(made, 0, &number, CMPI_uint16).rc, CMPI_RC_OK);
  EXPECT_EQ(made->ft->setElementAt(made, 1, &number, CMPI_uint16).rc, CMPI_RC_OK);
  EXPECT_EQ(made->ft->getSize(made, nullptr), 2U);
}

TEST_F(Objects, ArrayPropertiesKeepTheirNullElements) {
  CMPIArray* values = mb()->eft->newArray(mb(), 3, CMPI_uint16, nullptr);
  CMPIValue value{};
  value.uint16 = 4;
  values->ft->setElementAt(values, 1, &value, CMPI_uint16);
  CMPIInstance* made = instance("Test_Kinds");
  value.array = values;
  EXPECT_EQ(made->ft->setProperty(made, "Numbers", &value, CMPI_uint16A).rc, CMPI_RC_OK);
  EXPECT_EQ(get(made, "Numbers"), Value::ofArray(CMPI_uint16, {Value::ofNull(CMPI_uint16),
                                                               Value::ofUnsigned(CMPI_uint16, 4),
                                                               Value::ofNull(CMPI_uint16)}));
}

TEST_F(Objects, AnArrayThatNobodyCouldHoldIsRefused) {
  EXPECT_EQ(mb()->eft->newArray(mb(), 0xFFFFFFFFU, CMPI_uint16, &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_FAILED);
}

class DateTimes : public Objects {
 protected:
  DateTimes() {
    setenv("TZ", "UTC+4", 1);  // four hours west of Greenwich
    tzset();
  }
  ~DateTimes() override {
    unsetenv("TZ");
    tzset();
  }
  CMPIDateTime* fromBinary(CMPIUint64 microseconds, bool interval = false) {
    return mb()->eft->newDateTimeFromBinary(mb(), microseconds, interval ? 1 : 0, nullptr);
  }
  static std::string textOf(CMPIDateTime* time) {
    return *RequestScope::copy(time->ft->getStringFormat(time, nullptr));
  }
};

TEST_F(DateTimes, AreWrittenInLocalTime) {
  CMPIDateTime* time = fromBinary(1600000000123456);
  EXPECT_EQ(textOf(time), "20200913082640.123456-240");
  EXPECT_EQ(time->ft->isInterval(time, nullptr), 0);
}

TEST_F(DateTimes, GiveTheirNumberWithTheOffsetAppliedTwice) {
  CMPIDateTime* time = fromBinary(1600000000123456);
  EXPECT_EQ(time->ft->getBinaryFormat(time, nullptr), 1600000000123456U + 240ULL * 60 * 1000000);
}

TEST_F(DateTimes, IntervalsGoBothWays) {
  CMPIDateTime* time = fromBinary(((1ULL * 24 + 2) * 3600 + 3 * 60 + 4) * 1000000 + 5, true);
  EXPECT_EQ(textOf(time), "00000001020304.000005:000");
  EXPECT_EQ(time->ft->getBinaryFormat(time, nullptr), 93784000005U);
  EXPECT_EQ(time->ft->isInterval(time, nullptr), 1);
}

TEST_F(DateTimes, HaveAYearOfFourDigits) {
  EXPECT_EQ(textOf(fromBinary(kLatestPointInTime)), "99991230195959.999999-240");
  EXPECT_TRUE(scope_.reports().empty());
  EXPECT_EQ(textOf(fromBinary(kLatestPointInTime + 1)), "99991230195959.999999-240");
  EXPECT_EQ(textOf(fromBinary(std::numeric_limits<CMPIUint64>::max())),
            "99991230195959.999999-240");
  EXPECT_EQ(scope_.reports().size(), 2U);
}

TEST_F(DateTimes, OfVeryLongIntervalsHaveAsManyDaysAsFit) {
  EXPECT_EQ(textOf(fromBinary(std::numeric_limits<CMPIUint64>::max(), true)),
            "99999999080149.551615:000");
}

TEST_F(DateTimes, FromATextKeepTheText) {
  CMPIDateTime* time = mb()->eft->newDateTimeFromChars(mb(), "20200913122640.123456+000", &rc_);
  ASSERT_NE(time, nullptr);
  EXPECT_EQ(textOf(time), "20200913122640.123456+000");
  EXPECT_EQ(time->ft->getBinaryFormat(time, nullptr), 1600000000123456U);
}

TEST_F(DateTimes, MalformedTextsAnswerFour) {
  for (const char* text : {"", "yesterday", "20200913122640.123456+00", "20200913122640,123456+000",
                           "20200913122640.123456 000", "2020091312264x.123456+000"}) {
    EXPECT_EQ(mb()->eft->newDateTimeFromChars(mb(), text, &rc_), nullptr) << text;
    EXPECT_EQ(rc_.rc, CMPI_RC_ERR_INVALID_PARAMETER) << text;
  }
}

TEST_F(Objects, EmbeddedInstancesAreCopiesAndComeBackAsInstances) {
  CMPIInstance* inner = instance("Test_Disk");
  setText(inner, "Name", "before");
  CMPIInstance* outer = instance("Test_Kinds");
  CMPIValue value{};
  value.inst = inner;
  EXPECT_EQ(outer->ft->setProperty(outer, "Inner", &value, CMPI_instance).rc, CMPI_RC_OK);
  setText(inner, "Name", "after");
  const CMPIData back = outer->ft->getProperty(outer, "Inner", &rc_);
  ASSERT_EQ(back.type, CMPI_instance);
  const Instance copy = RequestScope::copy(back.value.inst);
  EXPECT_EQ(copy.path.className, "Test_Disk");
  EXPECT_EQ(*copy.property("Name"), Value::ofString("before"));
  EXPECT_THAT(copy.setOrder, ElementsAre("Name"));
}

TEST_F(Objects, ClassPathIsAWalksTheSuperclassesAndAlwaysAnswersOk) {
  struct Row {
    const char* nameSpace;
    const char* className;
    const char* ancestor;
    bool expected;
  };
  for (const Row& row : {Row{"root/test", "Test_FastDisk", "test_base", true},
                         Row{"root/test", "Test_Disk", "Test_FastDisk", false},
                         Row{"root/none", "Test_Disk", "TEST_DISK", true},
                         Row{"root/none", "Test_Disk", "Test_Base", false},
                         Row{"root/test", "Nowhere", "Nowhere", true},
                         Row{"root/test", "Nowhere", "Test_Base", false}}) {
    rc_.rc = CMPI_RC_ERR_FAILED;
    EXPECT_EQ(mb()->eft->classPathIsA(mb(), path(row.className, row.nameSpace), row.ancestor, &rc_),
              row.expected ? 1 : 0)
        << row.className << " " << row.ancestor;
    EXPECT_EQ(rc_.rc, CMPI_RC_OK);
  }
  EXPECT_EQ(mb()->eft->classPathIsA(mb(), path("Test_Disk"), nullptr, &rc_), 0);
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
}

TEST_F(Objects, PropertyQualifiersCanBeRead) {
  CMPIObjectPath* on = path("Test_FastDisk");
  const CMPIData key = on->ft->getPropertyQualifier(on, "Id", "Key", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
  EXPECT_EQ(RequestScope::copy(key), Value::ofBoolean(true));
  on->ft->getPropertyQualifier(on, "Name", "Key", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Objects, CopiesOfNullStringsAreNull) {
  EXPECT_EQ(RequestScope::copy(text(nullptr)), std::nullopt);
  EXPECT_EQ(RequestScope::copy(text("")), "");
}

TEST_F(Objects, RecordsOfOtherMakersAreReported) {
  CMPIString foreign{const_cast<char*>("text"), text("x")->ft};
  CMPIStringFT otherTable{};
  foreign.ft = &otherTable;
  CMPIValue value{};
  value.string = &foreign;
  CMPIInstance* made = instance("Test_Disk");
  EXPECT_EQ(made->ft->setProperty(made, "Name", &value, CMPI_string).rc,
            CMPI_RC_ERR_INVALID_HANDLE);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("did not make")));
}

// Memory.

TEST_F(Objects, MarkAndReleaseFreeWhatWasMadeBetween) {
  CMPIObjectPath* before = path("Test_Disk");
  const std::size_t outside = TestBroker::liveObjects();
  CMPIGcStat* outer = mb()->mft->mark(mb(), &rc_);
  for (int i = 0; i < 10; ++i) instance("Test_Kinds");
  const std::size_t inside = TestBroker::liveObjects();
  EXPECT_GE(inside, outside + 10);
  CMPIGcStat* inner = mb()->mft->mark(mb(), nullptr);
  text("x");
  addText(before, "Id", "changed inside");
  EXPECT_EQ(mb()->mft->release(mb(), inner).rc, CMPI_RC_OK);
  EXPECT_EQ(TestBroker::liveObjects(), inside);
  EXPECT_EQ(mb()->mft->release(mb(), outer).rc, CMPI_RC_OK);
  EXPECT_EQ(TestBroker::liveObjects(), outside);
  EXPECT_EQ(*RequestScope::copy(before).key("Id"), Value::ofString("changed inside"));
  EXPECT_THAT(scope_.reports(), IsEmpty());
}

TEST_F(Objects, MarkLeavesItsStatusUntouched) {
  rc_.rc = CMPI_RC_ERR_ALREADY_EXISTS;
  CMPIGcStat* mark = mb()->mft->mark(mb(), &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_ALREADY_EXISTS);
  mb()->mft->release(mb(), mark);
}

TEST_F(Objects, MarksOutOfOrderAreReported) {
  CMPIGcStat* outer = mb()->mft->mark(mb(), nullptr);
  CMPIGcStat* inner = mb()->mft->mark(mb(), nullptr);
  EXPECT_EQ(mb()->mft->release(mb(), outer).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(mb()->mft->release(mb(), inner).rc, CMPI_RC_OK);
  EXPECT_EQ(mb()->mft->release(mb(), inner).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(mb()->mft->release(mb(), nullptr).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(mb()->mft->release(mb(), outer).rc, CMPI_RC_OK);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("before the one inside it"),
                                            Says("released already"), Says("null")));
}

TEST_F(Objects, ReleaseOfOneObjectIsForItsOwnThreadAndMark) {
  CMPIString* made = text("x");
  CMPIGcStat* mark = mb()->mft->mark(mb(), nullptr);
  EXPECT_EQ(made->ft->release(made).rc, CMPI_RC_ERR_FAILED);
  mb()->mft->release(mb(), mark);
  CMPIrc inOtherThread = CMPI_RC_OK;
  std::thread([&] { inOtherThread = made->ft->release(made).rc; }).join();
  EXPECT_EQ(inOtherThread, CMPI_RC_ERR_FAILED);
  const std::size_t live = TestBroker::liveObjects();
  EXPECT_EQ(made->ft->release(made).rc, CMPI_RC_OK);
  EXPECT_EQ(TestBroker::liveObjects(), live - 1);
  EXPECT_THAT(scope_.reports(), ElementsAre(Says("another memory mark")))
      << "the other thread's report is the broker's only";
  EXPECT_THAT(broker_.reports(), ElementsAre(Says("memory mark"), Says("another thread")));
}

TEST_F(Objects, ClonesAreInNoHeap) {
  CMPIGcStat* mark = mb()->mft->mark(mb(), nullptr);
  CMPIInstance* made = instance("Test_Disk");
  setText(made, "Name", "n");
  CMPIInstance* clone = made->ft->clone(made, &rc_);
  mb()->mft->release(mb(), mark);
  EXPECT_EQ(get(clone, "Name"), Value::ofString("n"));
  EXPECT_EQ(clone->ft->release(clone).rc, CMPI_RC_OK);
}

TEST(Memory, AThreadThatEndsFreesWhatItMade) {
  TestBroker broker(makeOptions());
  const std::size_t before = TestBroker::liveObjects();
  std::thread([] {
    const CMPIBroker* mb = Broker::cmpi();
    for (int i = 0; i < 100; ++i) mb->eft->newObjectPath(mb, "root/test", "Test_Disk", nullptr);
    EXPECT_EQ(TestBroker::liveObjectsOfThisThread(), 100U);
  }).join();
  EXPECT_EQ(TestBroker::liveObjects(), before);
}

TEST(Layouts, ACharactersDefaultIsItsCode) {
  ClassRepository classes;
  MofReader(classes).readText(R"(class T { char16 Letter = 'A'; char16 Euro = '\x20AC';
                                           char16 Both[] = {'1', 66}; char16 Large = 65536; };)",
                              "test.mof");
  const ClassLayout layout(nullptr, *classes.find("T"));
  const auto initial = [&](const char* name) { return layout.slots[*layout.find(name)].initial; };
  EXPECT_EQ(initial("Letter"), Value::ofUnsigned(CMPI_char16, 'A'));
  EXPECT_EQ(initial("Euro"), Value::ofUnsigned(CMPI_char16, 0x20AC));
  EXPECT_EQ(initial("Both"), Value::ofArray(CMPI_char16, {Value::ofUnsigned(CMPI_char16, '1'),
                                                          Value::ofUnsigned(CMPI_char16, 66)}));
  EXPECT_EQ(initial("Large"), Value::ofNull(CMPI_char16));
}

TEST(Memory, AClassIsKeptOnceHoweverItIsSpelled) {
  BrokerState state(makeOptions());
  const auto layout = state.layout("root/test", "Test_Disk");
  ASSERT_NE(layout, nullptr);
  EXPECT_EQ(state.layout("ROOT/Test", "test_DISK"), layout);
  EXPECT_NE(state.layout("root/test", "Test_FastDisk"), layout);
  EXPECT_EQ(state.layout("root/test", "Test_Nothing"), nullptr);
}

TEST(Memory, AScopeLeavesNothingBehind) {
  const std::size_t before = TestBroker::liveObjects();
  TestBroker broker(makeOptions());
  {
    RequestScope scope(broker);
    RecordingResult result(scope);
    scope.make(Instance{{"", "root/test", "Test_Disk", {}}, {}, {}});
    EXPECT_GT(TestBroker::liveObjects(), before);
  }
  EXPECT_EQ(TestBroker::liveObjects(), before);
}

}  // namespace
}  // namespace orv::broker
