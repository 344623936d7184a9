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

/// The embedded broker: loads CMPI provider libraries into this process and asks them, with the
/// manners of the object manager that they are written for. docs/broker.md says what it imitates.
///
///   Broker::Options options;
///   options.namespaces["root/cimv2"] = std::make_shared<ClassRepository>(loadSchema("schema"));
///   options.registration = readRegistrationFile("schema/orvprovider.reg");
///   options.libraryFile = "lib/liborvprovider.so";
///   Broker broker(std::move(options));
///   Response ports = broker.enumerateInstances("root/cimv2", "Orvane_EthernetPort");
namespace orv::broker {

struct BrokerState;  // broker_state.h; internal

/// A place where the object manager would have crashed, or silently lost what a provider gave it.
struct Report {
  std::string provider;   ///< provider name of the registration; empty when unknown
  std::string className;  ///< class that it was asked for or that the object has; may be empty
  std::string property;   ///< property or key; may be empty
  std::string what;       ///< what was done, and what it would have done

  /// "provider P, class C, property X: ..." on one line.
  std::string toText() const;
};

using PropertyList = std::optional<std::vector<std::string>>;  ///< absent: all properties

/// Filters of an association request. What is absent reaches the provider as null, text as it is.
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
  ObjectPath path;  ///< namespace and class; with keys where one object is meant
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
  std::vector<Instance> instances;     ///< empty after a failure, whatever came before it
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

/// A broker. Every member may be called from any thread, also while requests run.
class Broker {
 public:
  struct Options {
    /// Classes by namespace; a namespace that is not here is invalid.
    std::map<std::string, std::shared_ptr<const ClassRepository>, NameLess> namespaces;
    std::vector<RegistrationSection> registration;

    /// Where the library of a section is: this file for every location; else the file for its
    /// location; else "lib<location>.so" where the loader looks.
    std::string libraryFile;
    std::map<std::string, std::string> libraries;
    /// Factories that are linked into this program, by symbol; looked up before any library is
    /// loaded.
    std::map<std::string, void*> linkedFactories;

    /// Absent: no authentication, and the owner of filters is null.
    std::optional<std::string> principal;
    /// Called for each report, in the thread that causes it; must not call the broker.
    std::function<void(const Report&)> onReport;
  };

  explicit Broker(Options options);
  /// Ends all subscriptions; no handler runs afterwards. Calls no provider and closes no library:
  /// call shutdown() first for that.
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  // Requests. Each runs on a thread of its own while the caller waits. Statuses before a provider
  // is asked: 3 unknown namespace, 5 unknown class, 6 getInstance without a provider, 1 a provider
  // that cannot be loaded.

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

  // Indications. The handler runs in the thread that delivers, one call at a time for a
  // subscription, and never after unsubscribe has returned.

  SubscribeResult subscribe(const IndicationFilter& filter, IndicationHandler handler);
  /// Calls deActivateFilter for the last subscription of a filter; the subscription is gone in any
  /// case.
  Response unsubscribe(SubscriptionId id);

  /// The walk at the end of the process: disableIndications and terminating cleanup, once per kind
  /// of provider and library, most recently loaded section first. Requests that need a provider
  /// fail with 1 afterwards.
  void shutdown();

  /// How often providers have freed what an attached thread of theirs made, through the eighth slot
  /// of the context's table.
  std::size_t contextReleaseCalls() const;

  /// The record that providers get. One for the process: it finds the broker by the calling thread
  /// and, on a thread that never attached, takes the one created last that is still alive. Never
  /// null, valid for ever.
  static const CMPIBroker* cmpi();

 protected:
  const std::shared_ptr<BrokerState>& state() const { return state_; }

 private:
  std::shared_ptr<BrokerState> state_;
};

}  // namespace orv::broker
