#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/real_broker/broker_sandbox.h"
#include "tests/real_broker/cim_client.h"

namespace orv::test {

/// A test on the real broker; skipped with the reason where it is not installed.
class RealBrokerTest : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = BrokerSandbox::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
  }

  /// A sandbox with our providers registered and the broker running.
  void serve(Library library = Library::kThisHost) {
    sandbox_ = std::make_unique<BrokerSandbox>(library);
    const Outcome registered = sandbox_->registerProviders();
    ASSERT_EQ(registered.status, 0) << registered.out << registered.err;
    ASSERT_TRUE(sandbox_->start()) << sandbox_->log();
  }

  std::unique_ptr<BrokerSandbox> sandbox_;
};

}  // namespace orv::test
