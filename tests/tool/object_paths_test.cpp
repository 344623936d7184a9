#include "tool/object_paths.h"

#include <gtest/gtest.h>

#include "tests/tool/sample.h"
#include "tool/errors.h"

namespace orv::tool {
namespace {

TEST(ObjectPathArgument, TakesTheNamespaceOfTheCommandWhenItHasNone) {
  EXPECT_EQ(objectPathArgument("T_Port.Id=\"a\"", "root/cimv2", sampleClasses()), samplePath("a"));
}

TEST(ObjectPathArgument, WhatDoesNotParseIsBadInput) {
  EXPECT_THROW(objectPathArgument("T_Port.Id=", "root/cimv2", sampleClasses()), BadInput);
}

}  // namespace
}  // namespace orv::tool
