#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "broker/broker.h"
#include "broker/class_layout.h"
#include "broker/indications.h"
#include "broker/provider_host.h"

namespace orv::broker {

/// The state of a Broker. Threads that work for the broker share it, so that it outlives calls in
/// progress.
struct BrokerState {
  explicit BrokerState(Broker::Options brokerOptions);

  /// Classes of a namespace; null for an invalid one.
  std::shared_ptr<const ClassRepository> classes(const std::string& nameSpace) const;
  /// Layout of a class; null when the namespace or the class is unknown.
  std::shared_ptr<const ClassLayout> layout(const std::string& nameSpace,
                                            const std::string& className);

  const Broker::Options options;
  ProviderHost providers;
  IndicationHub indications;
  std::atomic<std::size_t> contextReleaseCalls{0};
  std::atomic<CMPIUint32> lastSession{0};

 private:
  using Layouts = std::map<std::string, std::shared_ptr<const ClassLayout>, NameLess>;

  std::mutex mutex_;  // guards layouts_; no other is locked while it is held
  std::map<std::string, Layouts, NameLess> layouts_;  // by namespace
};

}  // namespace orv::broker
