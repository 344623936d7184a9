#include <gtest/gtest.h>

#include <string>

#include "cmpi/cmpi_array.h"
#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_memory_mark.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_status.h"
#include "cmpi/cmpi_string.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::broker::Fault;
using orv::broker::RequestScope;
using orv::broker::Value;
using orv::test::objectPath;

template <typename Operation>
CMPIrc statusOf(Operation operation) {
  try {
    operation();
    return CMPI_RC_OK;
  } catch (const CmpiStatus& status) {
    return status.rc();
  }
}

class Objects : public testing::Test {
 protected:
  void failing(const char* slot, CMPIrc rc) {
    Fault fault;
    fault.slot = slot;
    fault.rc = rc;
    scope_.embeddedBroker().inject(fault);
  }
  void answering(const char* slot, Fault::Effect effect) {
    Fault fault;
    fault.slot = slot;
    fault.effect = effect;
    scope_.embeddedBroker().inject(fault);
  }

  orv::test::ProviderScope scope_;
};

// ---- strings

TEST_F(Objects, StringCopiesItsText) {
  std::string text = "text";
  const CmpiString string(text.c_str());
  text = "gone";
  EXPECT_STREQ(string.charPtr(), "text");
}

TEST_F(Objects, StringOfANullTextIsNull) {
  EXPECT_TRUE(CmpiString(static_cast<const char*>(nullptr)).isNull());
  EXPECT_EQ(CmpiString().charPtr(), nullptr);
}

TEST_F(Objects, StringWithoutATextIsReadAsNull) {
  const CmpiString string("text");
  answering("string.getCharPtr", Fault::Effect::kNullText);
  EXPECT_EQ(string.charPtr(), nullptr);
}

TEST_F(Objects, StringsCompareByTheirTexts) {
  const CmpiString string("Text");
  EXPECT_TRUE(string.equals("Text"));
  EXPECT_FALSE(string.equals("text"));
  EXPECT_TRUE(string.equals(CmpiString("Text")));
}

TEST_F(Objects, NullStringEqualsNothing) {
  const CmpiString null;
  const CmpiString string("Text");
  EXPECT_FALSE(null.equals("Text"));
  EXPECT_FALSE(null.equals(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(null.equals(null));
  EXPECT_FALSE(string.equals(static_cast<const char*>(nullptr)));
}

TEST_F(Objects, FailureToMakeAStringIsThrown) {
  failing("eft.newString", CMPI_RC_ERROR_SYSTEM);
  EXPECT_EQ(statusOf([] { CmpiString("text"); }), CMPI_RC_ERROR_SYSTEM);
}

// ---- arrays

TEST_F(Objects, ArrayStartsOutNull) {
  const CmpiArray array(2, CMPI_uint16);
  EXPECT_EQ(array.size(), 2u);
  EXPECT_EQ(array.simpleType(), CMPI_uint16);
  EXPECT_TRUE(array[0].getData().isNullValue());
}

TEST_F(Objects, ArrayElementsAreAssignedAndRead) {
  const CmpiArray array(2, CMPI_uint16);
  array[1] = CMPIUint16{7};
  EXPECT_EQ(CMPIUint16(array[1].getData()), 7);
  EXPECT_TRUE(array[0].getData().isNullValue());
}

TEST_F(Objects, ArrayTakesItsOwnTypeOnly) {
  const CmpiArray numbers(1, CMPI_uint16);
  EXPECT_EQ(statusOf([&] { numbers[0] = CMPIUint32{7}; }), CMPI_RC_ERR_TYPE_MISMATCH);
  EXPECT_EQ(statusOf([&] { numbers[0] = "7"; }), CMPI_RC_ERR_TYPE_MISMATCH);
}

TEST_F(Objects, StringArrayTakesBothFormsOfText) {
  const CmpiArray texts(2, CMPI_string);
  texts[0] = "chars";
  texts[1] = CmpiString("string");
  EXPECT_STREQ(CmpiString(texts[0].getData()).charPtr(), "chars");
  EXPECT_STREQ(CmpiString(texts[1].getData()).charPtr(), "string");
}

/// An array that only tells which type its last element was set with.
struct ElementTypes {
  static inline CMPIType last;

  static CMPIType simpleType(const CMPIArray*, CMPIStatus*) { return CMPI_string; }
  static CMPIStatus setElementAt(CMPIArray*, CMPICount, const CMPIValue*, CMPIType type) {
    last = type;
    return {CMPI_RC_OK, nullptr};
  }
};

TEST_F(Objects, TextsOfAnArrayReachTheBrokerAsStrings) {
  CMPIArrayFT table{};
  table.getSimpleType = ElementTypes::simpleType;
  table.setElementAt = ElementTypes::setElementAt;
  CMPIArray record{nullptr, &table};
  const CmpiArray texts(&record);
  texts[0] = "text";
  EXPECT_EQ(ElementTypes::last, CMPI_string);
}

TEST_F(Objects, IndexPastTheEndIsTheBrokersStatus) {
  const CmpiArray numbers(1, CMPI_uint16);
  EXPECT_EQ(statusOf([&] { numbers[1] = CMPIUint16{7}; }), CMPI_RC_ERR_FAILED);
}

TEST_F(Objects, NullArrayIsEmptyAndTakesNothing) {
  const CmpiArray null;
  EXPECT_EQ(null.size(), 0u);
  EXPECT_EQ(null.simpleType(), CMPI_null);
  EXPECT_TRUE(null[0].getData().isNotFound());
  EXPECT_EQ(statusOf([&] { null[0] = CMPIUint16{7}; }), CMPI_RC_ERR_TYPE_MISMATCH);
}

// ---- date-times

TEST_F(Objects, DateTimeKeepsItsMicroseconds) {
  const CmpiDateTime time(1'600'000'000'123'456, false);
  const Value value = RequestScope::copy(CmpiData(time).data());
  EXPECT_EQ(value.dateTime().microseconds, 1'600'000'000'123'456u);
  EXPECT_FALSE(value.dateTime().interval);
}

TEST_F(Objects, CopyOfADateTimeSharesIt) {
  const CmpiDateTime time(5, true);
  const CmpiDateTime copy = time;
  EXPECT_EQ(copy.getEnc(), time.getEnc());
}

// ---- paths

TEST_F(Objects, PathHasItsNamespaceClassAndKeys) {
  CmpiObjectPath path("root/cimv2", "Orvane_EthernetPort");
  path.setKey("DeviceID", "nic0");
  EXPECT_STREQ(path.getNameSpace().charPtr(), "root/cimv2");
  EXPECT_STREQ(path.getClassName().charPtr(), "Orvane_EthernetPort");
  EXPECT_EQ(path.getKeyCount(), 1u);
  EXPECT_STREQ(CmpiString(path.getKey("deviceid")).charPtr(), "nic0");
  CmpiString name;
  EXPECT_STREQ(CmpiString(path.getKey(0U, &name)).charPtr(), "nic0");
  EXPECT_STREQ(name.charPtr(), "DeviceID");
}

TEST_F(Objects, AbsentKeyIsNotFoundNotAFailure) {
  const CmpiObjectPath path("root/cimv2", "Orvane_EthernetPort");
  EXPECT_TRUE(path.getKey("DeviceID").isNotFound());
}

TEST_F(Objects, NotFoundAndNoSuchPropertyAreBothAbsence) {
  CmpiObjectPath path("root/cimv2", "Orvane_EthernetPort");
  path.setKey("DeviceID", "nic0");
  CmpiInstance instance(path);
  for (const CMPIrc rc : {CMPI_RC_ERR_NOT_FOUND, CMPI_RC_ERR_NO_SUCH_PROPERTY}) {
    failing("path.getKey", rc);
    failing("instance.getProperty", rc);
    EXPECT_TRUE(path.getKey("DeviceID").isNotFound());
    EXPECT_TRUE(instance.getProperty("DeviceID").isNotFound());
    scope_.embeddedBroker().clearFaults();
  }
}

TEST_F(Objects, AnyOtherFailureOfAReadIsThrown) {
  CmpiObjectPath path("root/cimv2", "Orvane_EthernetPort");
  const CmpiInstance instance(path);
  failing("path.getKey", CMPI_RC_ERR_FAILED);
  failing("instance.getProperty", CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(statusOf([&] { path.getKey("DeviceID"); }), CMPI_RC_ERR_FAILED);
  try {
    instance.getProperty("DeviceID");
    FAIL();
  } catch (const CmpiStatus& status) {
    EXPECT_EQ(status.rc(), CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_STREQ(status.msg(), "DeviceID");
  }
}

TEST_F(Objects, PathCanBeMadeOfABrokersNamespace) {
  const CmpiObjectPath path(CmpiString("root/other"), "T");
  EXPECT_STREQ(path.getNameSpace().charPtr(), "root/other");
}

TEST_F(Objects, ClassOfAPathIsAskedOfTheBroker) {
  const CmpiObjectPath path("root/cimv2", "Orvane_EthernetPort");
  EXPECT_TRUE(path.classPathIsA("cim_ethernetport"));
  EXPECT_TRUE(path.classPathIsA("orvane_ETHERNETPORT"));
  EXPECT_FALSE(path.classPathIsA("CIM_SoftwareIdentity"));
  EXPECT_FALSE(path.classPathIsA("Nonsense"));
  EXPECT_FALSE(
      CmpiObjectPath("root/nowhere", "Orvane_EthernetPort").classPathIsA("CIM_LogicalPort"));
}

TEST_F(Objects, HostNameMayHaveNoText) {
  CmpiObjectPath path("root/cimv2", "T");
  EXPECT_EQ(path.getHostname().charPtr(), nullptr);
  path.setHostname("host-7");
  EXPECT_STREQ(path.getHostname().charPtr(), "host-7");
}

TEST_F(Objects, NullFromTheBrokerIsAFailure) {
  answering("eft.newObjectPath", Fault::Effect::kNullResult);
  EXPECT_EQ(statusOf([] { CmpiObjectPath("root/cimv2", "T"); }), CMPI_RC_ERR_FAILED);
}

// ---- instances

TEST_F(Objects, InstanceIsSetReadAndCounted) {
  CmpiInstance instance(CmpiObjectPath("root/cimv2", "T_Unknown"));
  EXPECT_EQ(instance.getPropertyCount(), 0u);
  instance.setProperty("Size", CMPIUint32{5});
  EXPECT_EQ(instance.getPropertyCount(), 1u);
  EXPECT_EQ(CMPIUint32(instance.getProperty("size")), 5u);
  CmpiString name;
  EXPECT_EQ(CMPIUint32(instance.getProperty(0U, &name)), 5u);
  EXPECT_STREQ(name.charPtr(), "Size");
  EXPECT_TRUE(instance.getProperty("Other").isNotFound());
}

TEST_F(Objects, WrongTypeOfADeclaredPropertyIsThrown) {
  CmpiInstance instance(CmpiObjectPath("root/cimv2", "Orvane_EthernetPort"));
  EXPECT_EQ(statusOf([&] { instance.setProperty("Name", CMPIUint32{5}); }),
            CMPI_RC_ERR_TYPE_MISMATCH);
}

TEST_F(Objects, NullPropertyKeepsItsType) {
  CmpiInstance instance(CmpiObjectPath("root/cimv2", "Orvane_EthernetPort"));
  instance.setProperty("Name", CmpiString());
  const CmpiData name = instance.getProperty("Name");
  EXPECT_TRUE(name.isNullValue());
  EXPECT_EQ(name.getType(), CMPI_string);
}

TEST_F(Objects, FilterKeepsListedPropertiesAndKeys) {
  CmpiObjectPath path("root/cimv2", "Orvane_EthernetPort");
  path.setKey("DeviceID", "nic0");
  CmpiInstance instance(path);
  const char* properties[] = {"Name", nullptr};
  instance.setPropertyFilter(properties);
  instance.setProperty("Name", "a");
  instance.setProperty("Caption", "b");
  EXPECT_STREQ(CmpiString(instance.getProperty("Name")).charPtr(), "a");
  EXPECT_TRUE(instance.getProperty("Caption").isNotFound());
  EXPECT_STREQ(CmpiString(instance.getObjectPath().getKey("DeviceID")).charPtr(), "nic0");
}

TEST_F(Objects, NullPropertyListKeepsAll) {
  CmpiInstance instance(CmpiObjectPath("root/cimv2", "Orvane_EthernetPort"));
  instance.setPropertyFilter(nullptr);
  instance.setProperty("Caption", "b");
  EXPECT_FALSE(instance.getProperty("Caption").isNotFound());
}

TEST_F(Objects, PathOfAnUnknownClassIsThrown) {
  const CmpiInstance instance(CmpiObjectPath("root/cimv2", "T_Unknown"));
  EXPECT_EQ(statusOf([&] { instance.getObjectPath(); }), CMPI_RC_ERR_INVALID_CLASS);
}

TEST_F(Objects, NullPathFromTheBrokerIsAFailure) {
  const CmpiInstance instance(CmpiObjectPath("root/cimv2", "Orvane_EthernetPort"));
  answering("instance.getObjectPath", Fault::Effect::kNullResult);
  EXPECT_EQ(statusOf([&] { instance.getObjectPath(); }), CMPI_RC_ERR_FAILED);
}

// ---- statuses

TEST_F(Objects, StatusCarriesItsText) {
  const CmpiStatus status(CMPI_RC_ERR_NOT_FOUND, "not there");
  EXPECT_EQ(status.rc(), CMPI_RC_ERR_NOT_FOUND);
  EXPECT_STREQ(status.msg(), "not there");
  EXPECT_EQ(status.status().rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Objects, StatusWithoutATextHasNone) {
  EXPECT_EQ(CmpiStatus(CMPI_RC_ERR_FAILED).msg(), nullptr);
  EXPECT_EQ(CmpiStatus(CMPI_RC_ERR_FAILED, nullptr).msg(), nullptr);
  EXPECT_EQ(CmpiStatus().rc(), CMPI_RC_OK);
}

TEST_F(Objects, StatusWhoseTextCannotBeMadeKeepsItsCode) {
  failing("eft.newString", CMPI_RC_ERR_FAILED);
  const CmpiStatus status(CMPI_RC_ERR_NOT_FOUND, "not there");
  EXPECT_EQ(status.rc(), CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(status.msg(), nullptr);
}

// These two see the state before any factory call: each in a process of its own, as ctest runs
// them.

TEST(WithoutABroker, StatusHasNoText) {
  if (CmpiProviderBase::getBroker() != nullptr) GTEST_SKIP() << "another test has set a broker";
  EXPECT_EQ(CmpiStatus(CMPI_RC_ERR_FAILED, "text").msg(), nullptr);
}

TEST(WithoutABroker, ObjectsCannotBeMade) {
  if (CmpiProviderBase::getBroker() != nullptr) GTEST_SKIP() << "another test has set a broker";
  EXPECT_EQ(statusOf([] { CmpiString("text"); }), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(statusOf([] { CmpiObjectPath("root", "T"); }), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(statusOf([] { CmpiArray(1, CMPI_uint8); }), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(statusOf([] { CmpiDateTime(0, false); }), CMPI_RC_ERR_FAILED);
}

// ---- memory

TEST_F(Objects, MarkFreesWhatIsMadeInsideIt) {
  const std::size_t before = orv::broker::TestBroker::liveObjectsOfThisThread();
  {
    const CmpiMemoryMark mark(scope_.broker());
    CmpiObjectPath path("root/cimv2", "T");
    path.setKey("K", "v");
    EXPECT_GT(orv::broker::TestBroker::liveObjectsOfThisThread(), before);
  }
  EXPECT_EQ(orv::broker::TestBroker::liveObjectsOfThisThread(), before);
}

}  // namespace
