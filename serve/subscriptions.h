#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "broker/values.h"
#include "serve/destination.h"
#include "serve/indication_export.h"
#include "serve/subscription_store.h"

namespace orv::serve {

/// The indication classes of the interop namespace: filters, handlers and subscriptions. Creating
/// the instance of a subscription subscribes with the broker, deleting it unsubscribes. All objects
/// are stored in a file, from which they are restored when the service starts.
///
/// Every operation may be called from any thread and throws CimError. One that fails changes
/// nothing, neither here nor in the file.
class Subscriptions {
 public:
  struct Settings {
    std::string file;  ///< empty: the objects are lost when the process ends
    DestinationRules rules;
    std::size_t objects = 4096;    ///< at most
    std::size_t bytes = 4U << 20;  ///< of all objects together as they are stored, at most
  };

  /// `broker`, `classes` and `exporter` must outlive the object. `nameSpace` is the interop
  /// namespace, `classes` are its classes.
  Subscriptions(broker::Broker& broker, const broker::ClassRepository& classes,
                IndicationExport& exporter, std::string nameSpace, Settings settings);
  ~Subscriptions();
  Subscriptions(const Subscriptions&) = delete;
  Subscriptions& operator=(const Subscriptions&) = delete;

  /// Reads the file and subscribes for its subscriptions. One that the broker refuses, perhaps
  /// because its provider is gone, is kept and logged. An object that its class does not allow, for
  /// example without a key, is logged and ignored, and stays in the file. Called once, before the
  /// first operation.
  ///
  /// Fails: std::runtime_error when the file cannot be read.
  void restore();

  /// Returns the path of the new instance. `creator` is the client's address.
  broker::ObjectPath create(const broker::Instance& given, const std::string& creator);
  /// Sets the given properties, or those of them that are listed. Subscriptions that use the object
  /// change at once.
  void modify(const broker::Instance& given, const broker::PropertyList& properties);
  void remove(const broker::ObjectPath& path);
  broker::Instance get(const broker::ObjectPath& path) const;
  /// Instances of the class and its subclasses; of all classes for an empty name.
  std::vector<broker::Instance> enumerate(const std::string& className) const;
  /// Whether the class is a filter, handler or subscription class, or an ancestor of one.
  bool concerns(const std::string& className) const;

 private:
  struct Entry {
    broker::Instance instance;
    std::string creator;
    std::size_t bytes = 0;
    broker::SubscriptionId subscription = 0;  // 0: none with the broker
    std::optional<Destination> destination;   // of a subscription
  };
  using Entries = std::vector<std::unique_ptr<Entry>>;

  broker::Instance complete(const broker::Instance& given) const;
  void check(const Entry& entry) const;
  void activate(Entry& entry);
  void deactivate(Entry& entry);
  void activateOrTell(Entry& entry);
  Entry* find(const broker::ObjectPath& path) const;
  Entry& require(const broker::ObjectPath& path) const;
  const Entry& referenced(const broker::Instance& subscription, const char* role,
                          const char* className) const;
  std::vector<Entry*> usersOf(Entry& entry) const;
  void save() const;

  broker::Broker& broker_;
  const broker::ClassRepository& classes_;
  IndicationExport& exporter_;
  const std::string nameSpace_;
  const Settings settings_;
  const SubscriptionStore store_;
  // Guards what follows. Held while the broker subscribes; indication handlers do not lock it.
  mutable std::mutex mutex_;
  Entries entries_;
  std::vector<StoredObject> ignored_;  // cannot be used now; stay in the file as they are
  std::size_t bytes_ = 0;
};

}  // namespace orv::serve
