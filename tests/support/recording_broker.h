#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "broker/testing/test_broker.h"
#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_result.h"

/// The embedded broker with the project's classes, except that indications go to the test.
/// Providers are called directly; the thread that makes it is a request thread as long as it lives.
///
/// The program defines ORV_SOURCE_DIR.
namespace orv::test {

struct Delivery {
  std::string nameSpace;
  broker::Instance indication;
};

class RecordingBroker {
 public:
  RecordingBroker();
  ~RecordingBroker();
  RecordingBroker(const RecordingBroker&) = delete;
  RecordingBroker& operator=(const RecordingBroker&) = delete;

  CmpiBroker* broker() { return &binding_; }
  CmpiContext context() const { return CmpiContext(scope_.context()); }
  broker::RequestScope& scope() { return scope_; }

  /// Called at each delivery, with its number from 0, before it is recorded; its status is the
  /// answer and it may throw. Set it before any thread delivers.
  std::function<CMPIrc(std::size_t)> onDelivery;
  bool keepDeliveries = true;  ///< false: they are only counted
  /// Called at each attachThread; a status other than 0 is the answer, and it may throw.
  std::function<CMPIrc()> onAttach;
  bool preparesNone = false;  ///< prepareAttachThread answers null

  std::vector<Delivery> deliveries() const;
  std::size_t deliveryCount() const;
  /// Waits until that many have come; false when they have not within five minutes.
  bool waitForDeliveries(std::size_t count) const;

  /// Calls of prepareAttachThread and attachThread.
  int preparedThreads() const { return preparedThreads_; }
  int attachedThreads() const { return attachedThreads_; }

  /// As a broker without the memory table, which older ones are.
  void removeMemoryTable();

 private:
  static CMPIStatus deliver(const CMPIBroker*, const CMPIContext*, const char* nameSpace,
                            const CMPIInstance* indication);
  static CMPIContext* prepareAttach(const CMPIBroker* broker, const CMPIContext* context);
  static CMPIStatus attach(const CMPIBroker* broker, const CMPIContext* context);

  broker::TestBroker embedded_;
  broker::RequestScope scope_;
  CMPIBrokerFT calls_;
  CMPIBroker record_;
  CmpiBroker binding_;

  mutable std::mutex mutex_;  // guards what follows
  mutable std::condition_variable changed_;
  std::vector<Delivery> deliveries_;
  std::size_t count_ = 0;
  std::atomic<int> preparedThreads_{0};
  std::atomic<int> attachedThreads_{0};
};

}  // namespace orv::test
