#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/instance_data.h"
#include "broker/wql.h"

namespace orv::broker {

struct Section;

/// Filters, subscriptions and delivery. Thread-safe.
class IndicationHub {
 public:
  IndicationHub();
  ~IndicationHub();

  /// Called in a request's thread. Calls every indication provider of the filter's class and its
  /// subclasses in the order authorizeFilter, mustPoll, activateFilter, enableIndications.
  SubscribeResult subscribe(BrokerState& broker, const IndicationFilter& filter,
                            IndicationHandler handler);

  /// Once this has returned, that subscription's handler does not run, unless it is the caller.
  void silence(SubscriptionId id);
  /// Called in a request's thread. Removes the subscription; with the last one of a filter,
  /// deactivates the filter.
  CMPIStatus remove(BrokerState& broker, SubscriptionId id);
  void silenceAll();

  /// Passes an indication to every subscription whose filter selects it. The class must be known. A
  /// filter's projection changes `instance` permanently.
  void deliver(InstanceData& instance);

 private:
  struct Subscription;
  struct Filter;
  using FilterPointer = std::shared_ptr<Filter>;

  CMPIStatus activate(BrokerState& broker, const FilterPointer& filter);
  CMPIStatus activateOn(BrokerState& broker, const FilterPointer& filter, Section& section);
  CMPIStatus deactivate(BrokerState& broker, const Filter& filter);
  CMPIStatus deactivateOn(BrokerState& broker, const Filter& filter, const Section& section);
  FilterPointer findNamed(const std::string& name) const;
  FilterPointer filterOf(SubscriptionId id) const;
  void forget(const FilterPointer& filter);

  // One change at a time. Held while providers are called; locked before mutex_.
  std::recursive_mutex changes_;
  mutable std::mutex mutex_;  // guards the members below; not held during calls of others
  std::vector<FilterPointer> filters_;
  SubscriptionId lastId_ = 0;
};

/// Calls disableIndications of a section's provider, even if indications are not enabled.
CMPIStatus disableIndications(Section& section, const CMPIContext* context);

/// The deliverIndication slot.
CMPIStatus deliverIndication(const CMPIContext* context, const CMPIInstance* indication);

}  // namespace orv::broker
