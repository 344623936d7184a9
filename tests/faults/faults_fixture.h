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
  bool isHost;       ///< that of the computer system and its hardware
  bool isSimulated;  ///< asks a host file instead of the system
};

inline std::unique_ptr<LoadedLibrary> load(const Product& product) {
  return product.isHost ? std::make_unique<LoadedLibrary>("", product.file)
                        : std::make_unique<LoadedLibrary>(product.file);
}

inline std::string registrationOf(const Product& product) {
  return std::string(ORV_SOURCE_DIR) +
         (product.isHost ? "/schema/host/orvhost.reg" : "/schema/orvprovider.reg");
}

/// A library, loaded, with what it answers when nothing fails.
class Faults : public testing::TestWithParam<Product> {
 protected:
  void SetUp() override {
    setenv("ORV_HOST_FILE", ORV_SOURCE_DIR "/tests/hosts/example.json", 1);
    library_ = load(GetParam());
    operations_ = everyOperation(**library_, registrationOf(GetParam()));
    ASSERT_GT(operations_.size(), 50U);
  }

  broker::TestBroker& library() { return **library_; }

  std::unique_ptr<LoadedLibrary> library_;
  std::vector<NamedOperation> operations_;
};

inline std::string productName(const testing::TestParamInfo<Product>& product) {
  return product.param.name;
}

inline auto allLibraries() {
  return testing::Values(Product{"ThisHost", ORV_REAL_LIBRARY, false, false},
                         Product{"SimulatedHost", ORV_SIMULATED_LIBRARY, false, true},
                         Product{"ThisHostsHardware", ORV_HOST_LIBRARY, true, false},
                         Product{"SimulatedHardware", ORV_SIMULATED_HOST_LIBRARY, true, true});
}

}  // namespace orv::test
