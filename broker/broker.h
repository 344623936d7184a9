#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/registration.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

/// The embedded broker: loads CMPI provider libraries into this process and calls them as the
/// object manager does that they are written for. docs/broker.md says what it imitates.
///
///   Broker::Options options;
///   options.namespaces["root/cimv2"] = std::make_shared<ClassRepository>(loadSchema("schema"));
///   options.registration = readRegistrationFile("schema/orvprovider.reg");
///   options.libraryFile = "lib/liborvprovider.so";
///   Broker broker(std::move(options));
///   Response ports = broker.enumerateInstances("root/cimv2", "Orvane_EthernetPort");
namespace orv::broker {

struct BrokerState;  // broker_state.h; internal

/// A provider did something that would make the object manager crash, or silently lose data.
struct Report {
  std::string provider;   ///< provider name of the registration; empty when unknown
  std::string className;  ///< class of the request or of the object; may be empty
  std::string property;   ///< property or key; may be empty
  std::string what;       ///< what the provider did, and what would have happened

  /// "provider P, class C, property X: ..." on one line.
  std::string toText() const;
};

using PropertyList = std::optional<std::vector<std::string>>;  ///< absent: all properties

/// Filters of an association request. An absent one reaches the provider as null, even an empty
/// text as text.
struct AssociationFilter {
  std::optional<std::string> assocClass;   ///< associators, associatorNames
  std::optional<std::string> resultClass;  ///< for references the association class
  std::optional<std::string> role;
  std::optional<std::string> resultRole;  ///< associators, associatorNames
};

enum class Operation {
  kEnumerateInstanceNames,
  kEnumerateInstances,
  kGetInstance,
  kCreateInstance,
  kModifyInstance,
  kDeleteInstance,
  kExecQuery,
  kAssociators,
  kAssociatorNames,
  kReferences,
  kReferenceNames,
};

struct Request {
  Operation operation = Operation::kEnumerateInstances;
  ObjectPath path;  ///< namespace and class; keys when it is about one object
  PropertyList properties;
  AssociationFilter filter;
  std::string query;                  ///< kExecQuery
  std::string queryLanguage = "WQL";  ///< kExecQuery
  std::optional<Instance> instance;   ///< kCreateInstance, kModifyInstance
  CMPIFlags flags = 0;                ///< context entry CMPIInvocationFlags
};

struct Response {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;  ///< absent: the status has no text
  std::vector<Instance> instances;     ///< empty after a failure, whatever was returned before it
  std::vector<ObjectPath> paths;       ///< the same

  bool ok() const { return rc == CMPI_RC_OK; }
};

using IndicationHandler = std::function<void(const Instance&)>;
using SubscriptionId = std::uint64_t;

struct IndicationFilter {
  std::string query;  ///< SELECT * | a, b FROM class [WHERE ...]
  std::string language = "WQL";
  std::string sourceNamespace = "root/cimv2";
  /// Subscriptions with one filter name share the filter; empty: a filter of its own.
  std::string name;
};

struct SubscribeResult {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  SubscriptionId id = 0;  ///< 0 on failure

  bool ok() const { return rc == CMPI_RC_OK; }
};

/// A broker. Every member may be called from any thread, even while requests run.
class Broker {
 public:
  struct Options {
    /// Classes by namespace; other namespaces are invalid.
    std::map<std::string, std::shared_ptr<const ClassRepository>, NameLess> namespaces;
    std::vector<RegistrationSection> registration;

    /// The library of a section: this file for every location; if empty, the file for its location;
    /// if there is none, "lib<location>.so" as the loader finds it.
    std::string libraryFile;
    std::map<std::string, std::string> libraries;
    /// Factories that are linked into this program, by symbol; they take precedence over libraries.
    std::map<std::string, void*> linkedFactories;

    /// Absent: no authentication, and the owner of filters is null.
    std::optional<std::string> principal;
    /// Called with each report, in the thread that causes it; must not call the broker.
    std::function<void(const Report&)> onReport;
  };

  explicit Broker(Options options);
  /// Ends all subscriptions; no handler runs afterwards. Calls no provider, for which shutdown() is
  /// called first, and closes no library.
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  // Requests. Each runs on a thread of its own while the caller waits. Statuses of the broker
  // itself: 1 a provider that cannot be loaded, or no memory or thread; 3 unknown namespace; 4 a
  // key given twice; 5 unknown class; 6 getInstance without a provider; 7 a change without a
  // provider; 15 a text that is not a query.

  Response request(const Request& request);

  Response enumerateInstanceNames(const std::string& nameSpace, const std::string& className);
  Response enumerateInstances(const std::string& nameSpace, const std::string& className,
                              const PropertyList& properties = std::nullopt);
  Response getInstance(const ObjectPath& path, const PropertyList& properties = std::nullopt);
  Response associators(const ObjectPath& source, const AssociationFilter& filter = {},
                       const PropertyList& properties = std::nullopt);
  Response associatorNames(const ObjectPath& source, const AssociationFilter& filter = {});
  Response references(const ObjectPath& source, const AssociationFilter& filter = {},
                      const PropertyList& properties = std::nullopt);
  Response referenceNames(const ObjectPath& source, const AssociationFilter& filter = {});

  // Indications. The handler runs in the thread that delivers the indication, one call at a time
  // per subscription, and never after unsubscribe has returned.

  SubscribeResult subscribe(const IndicationFilter& filter, IndicationHandler handler);
  /// Ends a subscription, whatever the status. For the last one of a filter, calls
  /// deActivateFilter, whose status is returned. 6 for an unknown id.
  Response unsubscribe(SubscriptionId id);

  /// Does what happens at the end of the object manager's process: disableIndications and
  /// terminating cleanup, once per kind of provider and library, the most recently loaded section
  /// first. Afterwards requests that need a provider fail with 1.
  void shutdown();

  /// How often providers have called the eighth slot of a context's table, which frees what the
  /// calling thread has made.
  std::size_t contextReleaseCalls() const;

  /// The record that providers get, one for the whole process. It finds the broker through the
  /// calling thread; on a thread that never attached, it takes the most recently created broker
  /// that still exists. Never null, always valid.
  static const CMPIBroker* cmpi();

 protected:
  const std::shared_ptr<BrokerState>& state() const { return state_; }

 private:
  std::shared_ptr<BrokerState> state_;
};

}  // namespace orv::broker
