// What the compiler and the linker add against those who find a fault: in every product.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

using testing::HasSubstr;

class Product : public testing::TestWithParam<const char*> {
 protected:
  std::string readelf(const std::string& what) const {
    return runFromPath({"readelf", "--wide", what, std::string(ORV_BINARY_DIR "/") + GetParam()})
        .out;
  }
};

TEST_P(Product, IsHardened) {
  if (!isOnPath("readelf")) GTEST_SKIP() << "readelf is not installed";
  EXPECT_THAT(readelf("--file-header"), HasSubstr("DYN"));  // at any address
  EXPECT_THAT(readelf("--dynamic"), HasSubstr("BIND_NOW"));
  EXPECT_THAT(readelf("--program-headers"), HasSubstr("GNU_RELRO"));
  EXPECT_THAT(readelf("--program-headers"), testing::Not(HasSubstr("RWE")));
  const std::string symbols = readelf("--dyn-syms");
  EXPECT_THAT(symbols, HasSubstr("__stack_chk_fail"));
  EXPECT_THAT(symbols, testing::ContainsRegex("__[a-z]+_chk"));  // _FORTIFY_SOURCE
#if defined(__x86_64__)
  EXPECT_THAT(readelf("--notes"), HasSubstr("IBT"));
  EXPECT_THAT(readelf("--notes"), HasSubstr("SHSTK"));
#endif
}

INSTANTIATE_TEST_SUITE_P(Products, Product,
                         testing::Values("bin/orvcim", "bin/orvcimd", "lib/liborvprovider.so",
                                         "lib/liborvhost.so"));

}  // namespace
}  // namespace orv::test
