#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "cmpi/cmpi_array.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_reference.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::broker::ObjectPath;
using orv::broker::Value;
using orv::test::objectPath;
using testing::HasSubstr;

class Reference : public testing::Test {
 protected:
  /// Empty when the path is carried. The same whether the object manager has made the path or its
  /// keys were set one by one.
  std::string refusal(const ObjectPath& path) {
    const std::string reason = refusal(scope_.path(path));
    const bool texts = std::all_of(path.keys.begin(), path.keys.end(),
                                   [](const auto& key) { return isText(key.value); });
    if (texts) {
      EXPECT_EQ(refusal(ownPath(path)), reason);
    }
    return reason;
  }
  static std::string refusal(const CmpiObjectPath& path) {
    try {
      requireCarriable(path);
      return "";
    } catch (const CmpiReferenceError& error) {
      EXPECT_EQ(error.rc(), CMPI_RC_ERR_INVALID_PARAMETER);
      return CmpiStatus(error).msg();
    }
  }
  static bool isText(const Value& value) { return value.type == CMPI_string && !value.null; }
  static CmpiObjectPath ownPath(const ObjectPath& plain) {
    CmpiObjectPath path(plain.nameSpace.c_str(), plain.className.c_str());
    for (const auto& key : plain.keys) path.setKey(key.name.c_str(), key.value.text().c_str());
    return path;
  }
  /// Paths whose parts the object manager does not tell.
  void makeUnreadable() {
    for (const char* slot : {"path.getNameSpace", "path.getClassName", "path.getKeyAt",
                             "path.getKeyCount", "path.getKey"}) {
      orv::broker::Fault fault;
      fault.slot = slot;
      scope_.embeddedBroker().inject(fault);
    }
  }
  static ObjectPath withKey(const std::string& name, const Value& value) {
    ObjectPath path = objectPath("C");
    path.keys.push_back({name, value});
    return path;
  }

  orv::test::ProviderScope scope_;
};

TEST_F(Reference, OrdinaryPathsAreCarried) {
  EXPECT_EQ(refusal(objectPath("C")), "");
  EXPECT_EQ(refusal(objectPath("C", {{"A", "x"}, {"B", ""}})), "");
  EXPECT_EQ(refusal(objectPath("C", {{"A", "x"}}, "/root/cimv2")), "");
  EXPECT_EQ(refusal(objectPath("C", {{"A", "a:b,c.d\\e=f 'g'\n\xc3\xa4"}})), "");
  EXPECT_EQ(refusal(objectPath("C", {{"a.b:c", "x"}})), "");
}

TEST_F(Reference, NumbersBooleansAndNullsAreCarried) {
  EXPECT_EQ(refusal(withKey("A", Value::ofUnsigned(CMPI_uint64, 18446744073709551615U))), "");
  EXPECT_EQ(refusal(withKey("A", Value::ofBoolean(true))), "");
  EXPECT_EQ(refusal(withKey("A", Value::ofNull(CMPI_string))), "");
}

TEST_F(Reference, TextOf4095CharactersIsTheLongest) {
  // root/cimv2:C.A="..."
  const std::size_t rest = std::string("root/cimv2:C.A=\"\"").size();
  EXPECT_EQ(refusal(objectPath("C", {{"A", std::string(4095 - rest, 'x')}})), "");
  EXPECT_EQ(refusal(objectPath("C", {{"A", std::string(4096 - rest, 'x')}})),
            "Object path cannot be used as a reference: text of 4096 characters is too long");
}

TEST_F(Reference, EveryPartCountsForTheLength) {
  const std::string half(2048, 'x');
  EXPECT_NE(refusal(objectPath("C", {{"A", half}, {"B", half}})), "");
  EXPECT_NE(refusal(objectPath("C", {{half, half}})), "");
  EXPECT_NE(refusal(objectPath(half, {{"A", half}})), "");
  EXPECT_NE(refusal(objectPath("C", {{"A", half}}, half)), "");
  ObjectPath numbers = objectPath("C");
  for (int i = 0; i < 170; ++i) {
    numbers.keys.push_back({"K" + std::to_string(i), Value::ofUnsigned(CMPI_uint64, 1ULL << 62)});
  }
  EXPECT_THAT(refusal(numbers), HasSubstr("characters is too long"));
}

TEST_F(Reference, QuotationMarkInAKeyIsRefused) {
  EXPECT_EQ(refusal(objectPath("C", {{"A", "x"}, {"Name", "ni\"c"}})),
            "Object path cannot be used as a reference: key Name has a quotation mark");
}

TEST_F(Reference, KeyNamesThatTheReaderCannotTellAreRefused) {
  for (const char* name : {"", "_", "a=b", "a,b", "a\"b"}) {
    EXPECT_THAT(refusal(objectPath("C", {{name, "x"}})), HasSubstr("has no usable name")) << name;
  }
}

TEST_F(Reference, DotsAndColonsThatMoveTheBordersAreRefused) {
  EXPECT_NE(refusal(objectPath("C", {{"A", "x"}}, "root/v1.2")), "");
  EXPECT_NE(refusal(objectPath("C", {{"A", "x"}}, "root:cimv2")), "");
  EXPECT_NE(refusal(objectPath("C.D", {{"A", "x"}})), "");
  EXPECT_NE(refusal(objectPath("", {{"A", "x"}})), "");
}

TEST_F(Reference, WithoutANamespaceNoColonIsCarried) {
  EXPECT_EQ(refusal(objectPath("C", {{"A", "x.y"}}, "")), "");
  EXPECT_THAT(refusal(objectPath("C", {{"A", "x:y"}}, "")), HasSubstr("no namespace"));
  EXPECT_THAT(refusal(objectPath("C", {{"A:B", "x"}}, "")), HasSubstr("no namespace"));
  EXPECT_THAT(refusal(objectPath("C:D", {{"A", "x"}}, "")), HasSubstr("no namespace"));
}

TEST_F(Reference, ReferencesAndRealNumbersAsKeysAreRefused) {
  EXPECT_THAT(refusal(withKey("A", Value::ofReference(objectPath("D", {{"B", "x"}})))),
              HasSubstr("key A is a reference itself"));
  CmpiObjectPath path("root/cimv2", "C");
  path.setKey("A", CmpiData(CMPIReal64{1.5}));
  EXPECT_THROW(requireCarriable(path), CmpiReferenceError);
}

TEST_F(Reference, OtherValuesAndNullReferencesPass) {
  EXPECT_NO_THROW(requireCarriable("a \" in a text"));
  EXPECT_NO_THROW(requireCarriable(CMPIUint32{1}));
  EXPECT_NO_THROW(requireCarriable(CmpiObjectPath(static_cast<const CMPIObjectPath*>(nullptr))));
}

/// Each way to hand a reference to the object manager.
TEST_F(Reference, EverySetterRefusesBeforeTheObjectManagerSeesTheReference) {
  const CmpiObjectPath bad = scope_.path(objectPath("C", {{"A", "\""}}));
  CmpiInstance instance(CmpiObjectPath("root/cimv2", "Orvane_EPStatistics"));
  EXPECT_THROW(instance.setProperty("Element", bad), CmpiReferenceError);
  EXPECT_TRUE(instance.getProperty("Element").isNullValue());
  CmpiObjectPath path("root/cimv2", "Orvane_EPStatistics");
  EXPECT_THROW(path.setKey("Element", bad), CmpiReferenceError);
  EXPECT_EQ(path.getKeyCount(), 0U);
  const CmpiArray array(1, CMPI_ref);
  EXPECT_THROW(array[0] = bad, CmpiReferenceError);
}

TEST_F(Reference, PathOfOwnTextsIsNotReadBack) {
  const CmpiObjectPath own = ownPath(objectPath("C", {{"A", "x"}, {"B_2", "a:b.c,d"}}));
  const CmpiObjectPath copy(own);
  makeUnreadable();
  EXPECT_NO_THROW(requireCarriable(own));
  EXPECT_THROW(requireCarriable(copy), CmpiStatus);
}

/// The handle that made a path does not see what others do to it.
TEST_F(Reference, KeysSetThroughOtherHandlesCount) {
  const auto refusedAfter = [&](const auto& change) {
    CmpiObjectPath own = ownPath(objectPath("C", {{"A", "x"}}));
    EXPECT_EQ(refusal(own), "");
    change(own);
    EXPECT_EQ(refusal(own),
              "Object path cannot be used as a reference: key B has a quotation mark");
  };
  const auto spoil = [](CmpiObjectPath path) { path.setKey("B", "\""); };
  refusedAfter([&](CmpiObjectPath& own) { own.setKey("B", "\""); });
  refusedAfter([&](CmpiObjectPath& own) { spoil(own); });
  refusedAfter([&](CmpiObjectPath& own) { spoil(CmpiObjectPath(own.getEnc())); });
  refusedAfter([&](CmpiObjectPath& own) { spoil(CmpiObjectPath(CmpiData(own))); });
  refusedAfter([&](CmpiObjectPath& own) {
    CmpiObjectPath taker(std::move(own));
    taker.setKey("B", "\"");
  });
  refusedAfter([&](CmpiObjectPath& own) {
    const CmpiObjectPath taker(std::move(own));
    spoil(own);
    EXPECT_NE(refusal(taker), "");
  });
}

TEST_F(Reference, NamespaceSetLaterCounts) {
  CmpiObjectPath own = ownPath(objectPath("C", {{"A", "x"}}));
  CmpiObjectPath(own).setNameSpace("root:x");
  EXPECT_NE(refusal(own), "");
  own.setNameSpace("root/cimv2");
  EXPECT_EQ(refusal(own), "");
  own.setNameSpace("root.x");
  EXPECT_NE(refusal(own), "");
}

TEST_F(Reference, AssignedHandleKnowsOnlyWhatItWasMovedTo) {
  const CmpiObjectPath good = ownPath(objectPath("C", {{"A", "x"}}));
  const CmpiObjectPath bad = ownPath(objectPath("C", {{"A", "\""}}));
  CmpiObjectPath handle = ownPath(objectPath("C"));
  handle = bad;
  EXPECT_NE(refusal(handle), "");
  handle = ownPath(objectPath("C", {{"A", "y"}}));
  EXPECT_EQ(refusal(handle), "");
  handle = scope_.path(objectPath("C", {{"A", "\""}}));
  EXPECT_NE(refusal(handle), "");
  EXPECT_EQ(refusal(good), "");
}

TEST_F(Reference, WhatCannotBeCarriedIsLeftOutAndOtherFailuresPass) {
  EXPECT_NO_THROW(leavingOutUncarriable([] { throw CmpiReferenceError("test"); }));
  EXPECT_THROW(leavingOutUncarriable([] { throw CmpiStatus(CMPI_RC_ERR_FAILED); }), CmpiStatus);
}

}  // namespace
