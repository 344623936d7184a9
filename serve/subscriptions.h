#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "broker/values.h"
#include "serve/indication_export.h"

namespace orv::serve {

/// The indication classes of the interop namespace: filters, handlers and subscriptions, kept in
/// memory. A subscription is made with the broker when its instance is created, and ended when it
/// is deleted.
///
/// Every operation may be called from any thread and throws CimError.
class Subscriptions {
 public:
  /// All three must outlive the object. `classes` are those of the interop namespace.
  Subscriptions(broker::Broker& broker, const broker::ClassRepository& classes,
                IndicationExport& exporter, std::string nameSpace);
  ~Subscriptions();
  Subscriptions(const Subscriptions&) = delete;
  Subscriptions& operator=(const Subscriptions&) = delete;

  /// The path of the new instance.
  broker::ObjectPath create(const broker::Instance& given);
  void remove(const broker::ObjectPath& path);
  broker::Instance get(const broker::ObjectPath& path) const;
  /// Instances of the class and its subclasses.
  std::vector<broker::Instance> enumerate(const std::string& className) const;

 private:
  struct Entry {
    broker::Instance instance;
    broker::SubscriptionId subscription = 0;
    std::string destination;  // of a subscription
  };

  void requireClass(const std::string& className) const;
  broker::Instance complete(const broker::Instance& given) const;
  broker::SubscriptionId subscribe(const broker::Instance& subscription, std::string& destination);
  const Entry* find(const broker::ObjectPath& path) const;
  const broker::Instance& referenced(const broker::Instance& subscription, const char* role,
                                     const char* className) const;
  bool isUsed(const broker::ObjectPath& path) const;

  broker::Broker& broker_;
  const broker::ClassRepository& classes_;
  IndicationExport& exporter_;
  const std::string nameSpace_;
  mutable std::mutex
      mutex_;  // guards entries_; held while the broker subscribes, never in a handler
  std::vector<Entry> entries_;
};

}  // namespace orv::serve
