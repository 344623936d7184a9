#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/operations.h"
#include "tests/support/library_fixture.h"

namespace orv::test {

/// A library of the build.
struct Product {
  const char* name;
  const char* file;
};

/// A library, loaded, with what it answers when nothing fails.
class Faults : public testing::TestWithParam<Product> {
 protected:
  void SetUp() override {
    setenv("ORV_HOST_FILE", ORV_SOURCE_DIR "/tests/hosts/example.json", 1);
    library_ = std::make_unique<LoadedLibrary>(GetParam().file);
    operations_ = everyOperation(**library_);
    ASSERT_GT(operations_.size(), 50U);
  }

  broker::TestBroker& library() { return **library_; }

  std::unique_ptr<LoadedLibrary> library_;
  std::vector<NamedOperation> operations_;
};

inline std::string productName(const testing::TestParamInfo<Product>& product) {
  return product.param.name;
}

inline auto bothLibraries() {
  return testing::Values(Product{"ThisHost", ORV_REAL_LIBRARY},
                         Product{"SimulatedHost", ORV_SIMULATED_LIBRARY});
}

}  // namespace orv::test
