// What the compiler and the linker add against those who find a fault: in every product.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

struct Hardened {
  const char* file;
  bool callsCheckedFunctions;  ///< of _FORTIFY_SOURCE
};

class Product : public testing::TestWithParam<Hardened> {
 protected:
  std::string file() const { return std::string(ORV_BINARY_DIR "/") + GetParam().file; }
  std::string readelf(const std::string& what) const {
    return runFromPath({"readelf", "--wide", what, file()}).out;
  }
};

/// How often an endbr64 instruction stands in the file: at each function that may be called
/// indirectly. The property note that says so is lost in linking: start files of Debian 12's C
/// library lack it.
[[maybe_unused]] std::size_t indirectBranchTargets(const std::string& file) {
  const std::string bytes = fileText(file);
  std::size_t count = 0;
  for (std::size_t at = 0; (at = bytes.find("\xf3\x0f\x1e\xfa", at)) != std::string::npos; ++at)
    ++count;
  return count;
}

TEST_P(Product, IsHardened) {
  if (!isOnPath("readelf")) GTEST_SKIP() << "readelf is not installed";
  EXPECT_THAT(readelf("--file-header"), HasSubstr("DYN"));  // at any address
  EXPECT_THAT(readelf("--dynamic"), HasSubstr("BIND_NOW"));
  EXPECT_THAT(readelf("--program-headers"), HasSubstr("GNU_RELRO"));
  EXPECT_THAT(readelf("--program-headers"), testing::Not(HasSubstr("RWE")));
  const std::string symbols = readelf("--dyn-syms");
  EXPECT_THAT(symbols, HasSubstr("__stack_chk_fail"));
  if (GetParam().callsCheckedFunctions) {
    EXPECT_THAT(symbols, ContainsRegex("__[a-z]*(cpy|printf)_chk"));
  }
#if defined(__x86_64__)
  EXPECT_GT(indirectBranchTargets(file()), 100U);
#endif
}

std::string fileName(const testing::TestParamInfo<Hardened>& product) {
  const std::string name = product.param.file;
  const std::size_t begin = name.find('/') + 1;
  return name.substr(begin, name.find('.') - begin);
}

// What liborvprovider compiles with _FORTIFY_SOURCE calls no function that has a checked form.
INSTANTIATE_TEST_SUITE_P(Products, Product,
                         testing::Values(Hardened{"bin/orvcim", true},
                                         Hardened{"bin/orvcimd", true},
                                         Hardened{"lib/liborvhost.so", true},
                                         Hardened{"lib/liborvprovider.so", false}),
                         fileName);

}  // namespace
}  // namespace orv::test
