#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "broker/testing/test_broker.h"
#include "cmpi/cmpi_object_path.h"
#include "health/health_monitor.h"
#include "health/latched_store.h"
#include "tests/health/scripted_hardware.h"

namespace orv::test {

/// Hardware classes whose keys are of the wrong kind, instead of the regular ones.
extern const char kOddHardwareMof[];

/// Adds sections of the monitored classes, served by the scripted hardware, and its factory.
void addScriptedHardware(broker::Broker::Options& options);

/// A broker with the project's classes, the hardware classes, and the health providers and the
/// scripted hardware linked in.
broker::Broker::Options healthBrokerOptions(const std::string& hardwareMof = "");

/// A broker with the classes of this directory of the source tree, and no provider.
broker::Broker::Options brokerWithoutProviders(const std::string& schema);

/// The classes that are polled, in their order.
const std::vector<std::string>& monitoredClasses();

/// Makes the shared state of the monitors as it is when the library is loaded. No thread may run.
void resetMonitorState();

/// A key of a path.
struct TextKey {
  const char* name;
  const char* value;
};

/// A path with text keys; no host unless given.
CmpiObjectPath makePath(const std::string& className, const std::vector<TextKey>& keys,
                        const char* host = nullptr, const std::string& nameSpace = "root/cimv2");

/// The calling thread is a request thread of a broker; nothing is latched, no thread runs.
class HealthTest : public ::testing::Test {
 protected:
  explicit HealthTest(broker::Broker::Options options = healthBrokerOptions(),
                      broker::ContextTable contextTable = broker::ContextTable::kEightSlots);
  ~HealthTest() override;

  CmpiBroker binding() const { return CmpiBroker(scope_->broker()); }
  CmpiContext context() const { return CmpiContext(scope_->context()); }

  /// One poll cycle at the time `now`, into `store_`; returns the roll-up.
  std::uint16_t poll(std::time_t now = 1'600'000'000);

  broker::TestBroker broker_;
  std::unique_ptr<broker::RequestScope> scope_;
  OrvLatchedHealth::LatchedStore store_;
};

}  // namespace orv::test
