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

/// Filters, subscriptions and delivery. Any thread.
class IndicationHub {
 public:
  IndicationHub();
  ~IndicationHub();

  /// In a request's thread of the broker: asks every indication provider of the filter's class and
  /// its subclasses in the order authorizeFilter, mustPoll, activateFilter, enableIndications.
  SubscribeResult subscribe(BrokerState& broker, const IndicationFilter& filter,
                            IndicationHandler handler);

  /// No handler call of that subscription runs once this has returned, except the caller's own.
  /// False: no such subscription.
  bool silence(SubscriptionId id);
  /// In a request's thread: forgets the subscription; the last one of a filter deactivates the
  /// filter.
  CMPIStatus remove(BrokerState& broker, SubscriptionId id);
  void silenceAll();

  /// Hands an indication to every subscription whose filter selects it. A projection narrows
  /// `instance` for good. Its class must be known.
  void deliver(InstanceData& instance);

 private:
  struct Subscription;
  struct Filter;
  using FilterPointer = std::shared_ptr<Filter>;

  CMPIStatus activate(BrokerState& broker, const FilterPointer& filter);
  CMPIStatus activateOn(BrokerState& broker, const FilterPointer& filter, Section& section);
  CMPIStatus deactivate(BrokerState& broker, const Filter& filter);
  FilterPointer findNamed(const std::string& name) const;
  FilterPointer filterOf(SubscriptionId id) const;
  void registerFilter(const FilterPointer& filter);
  void forget(const FilterPointer& filter);

  // One change at a time. Held while providers are called; locked before mutex_.
  std::recursive_mutex changes_;
  mutable std::mutex mutex_;  // guards the members below; never held while others are called
  std::vector<FilterPointer> filters_;
  SubscriptionId lastId_ = 0;
};

/// disableIndications of a section's provider, whether it was enabled or not.
CMPIStatus disableIndications(Section& section, const CMPIContext* context);

/// The deliverIndication slot.
CMPIStatus deliverIndication(const CMPIContext* context, const CMPIInstance* indication);

}  // namespace orv::broker
