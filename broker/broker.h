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
/// manners of the object manager that they are written for. docs/broker.md tells what it imitates.
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

/// What stands at index 7 of the context's function table, one past the seven slots of the
/// standard.
enum class ContextTable {
  kEightSlots,      ///< a function: frees what the calling thread has made, and answers OK
  kSevenSlots,      ///< no function: the word is the address of data
  kSevenSlotsNull,  ///< a null word
};

/// Makes a slot of the broker's tables answer otherwise than it would; see Broker::inject.
struct Fault {
  enum class Effect {
    kStatus,      ///< fails with `rc`, and null, zero or a not-found value
    kNullResult,  ///< answers OK with a null pointer
    kNullText,    ///< string results: a string object whose text is null
    kNullValue,   ///< data results: good status, state null
  };
  std::string
      slot;  ///< "eft.newInstance", "bft.getInstance", "instance.setProperty", "path.getKey", ...
  Effect effect = Effect::kStatus;
  CMPIrc rc = CMPI_RC_ERR_FAILED;
  int skip = 0;    ///< calls that pass unharmed first
  int times = -1;  ///< calls that are hit then; -1: all
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

/// What one provider answered to its part of a request.
struct ProviderAnswer {
  std::string provider;
  std::string className;  ///< under which it was asked
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::size_t instanceCount = 0;
  std::size_t pathCount = 0;
  int doneCount = 0;  ///< calls of returnDone
};

struct Response {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;  ///< absent: the status has no text
  std::vector<Instance> instances;
  std::vector<ObjectPath> paths;
  std::vector<Value> data;  ///< what came through returnData and is neither
  int doneCount = 0;        ///< returnDone calls of all providers asked

  /// What was returned before a status other than OK; a client never sees it.
  struct {
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;
  } discarded;

  std::vector<ProviderAnswer> answers;  ///< one for each provider asked, in order
  std::vector<Report> reports;          ///< made in the request's thread

  bool ok() const { return rc == CMPI_RC_OK; }
};

using IndicationHandler = std::function<void(const Instance&)>;
using SubscriptionId = std::uint64_t;

struct IndicationFilter {
  std::string query;  ///< SELECT * | a, b FROM class [WHERE ...]
  std::string language = "WQL";
  std::string sourceNamespace = "root/cimv2";
  std::string
      name;  ///< subscriptions of one filter name share the filter; empty: a filter of its own
  bool restored = false;  ///< as at the broker's start: the owner is "$$"
};

struct SubscribeResult {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  SubscriptionId id = 0;  ///< 0 on failure
  std::vector<Report> reports;

  bool ok() const { return rc == CMPI_RC_OK; }
};

enum class ProviderKind { kInstance, kAssociation, kIndication, kMethod };

/// One cleanup call, in the order of the calls.
struct CleanupCall {
  std::string provider;
  std::string className;
  ProviderKind kind = ProviderKind::kInstance;
  CMPIrc answer = CMPI_RC_OK;
};

struct IdleOutcome {
  bool asked = false;  ///< false: nothing loaded, a filter is active, or `unload: never` came first
  bool exits = false;  ///< the process would end now; the broker has dropped all MI records
  bool asksAgain = false;  ///< someone answered 50, nobody anything that ends the idle check
  std::vector<CleanupCall> calls;
};

struct ShutdownOutcome {
  std::vector<CleanupCall> calls;        ///< of the first walk
  std::vector<CleanupCall> secondCalls;  ///< of the concurrent second one
};

/// Live broker objects by kind. Contexts and results count too, request threads' own ones included.
struct LiveObjects {
  std::size_t strings = 0, arrays = 0, dateTimes = 0, objectPaths = 0, instances = 0, arguments = 0,
              enumerations = 0, selectExpressions = 0, contexts = 0, results = 0;
  std::size_t total() const;
};

/// A broker. Every member may be called from any thread, also while requests run.
class Broker {
 public:
  struct Options {
    /// Classes by namespace; a namespace that is not here is invalid.
    std::map<std::string, std::shared_ptr<const ClassRepository>, NameLess> namespaces;
    std::vector<RegistrationSection> registration;

    /// Where a section's library is, first answer wins: this file for every location; a file for a
    /// location; "lib<location>.so" in one of the directories.
    std::string libraryFile;
    std::map<std::string, std::string> libraries;
    std::vector<std::string> libraryDirectories;
    /// Factories that are linked into this program, by symbol; looked up before any library is
    /// loaded.
    std::map<std::string, void*> linkedFactories;

    std::optional<std::string>
        principal;  ///< absent: no authentication, the owner of filters is null
    ContextTable contextTable = ContextTable::kEightSlots;
    /// EmbeddedInstance("class") is understood like EmbeddedObject, as patched object managers do.
    bool embeddedInstanceQualifier = true;
    /// Ask a provider once for each of its association sections instead of once in all, when a
    /// request names no association class.
    bool askEveryAssociationSection = false;
    /// Called for each report, in the thread that causes it; must not call the broker.
    std::function<void(const Report&)> onReport;
  };

  explicit Broker(Options options);
  /// Ends all subscriptions; no handler runs afterwards. Calls no provider and closes no library:
  /// do shutdown() first for that.
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  // Requests. Each runs on a thread of its own while the caller waits. Statuses before a provider
  // is asked: 3 unknown namespace, 5 unknown class, 6 getInstance without a provider, 1 a provider
  // that cannot be loaded.

  Response request(const Request& request);
  /// The same, to the first section of that provider name that has the kind which the operation
  /// needs: no routing, no substitution of class names, the answer as the provider gives it.
  Response requestTo(const std::string& providerName, const Request& request);

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
  /// Sets the subscription's state to disabled: no more deliveries, and disableIndications.
  Response disable(SubscriptionId id);

  // Lifecycle.

  /// One round of the idle check: cleanup, not terminating, once a kind for a library.
  IdleOutcome idleCheck();
  /// The walk at the end of the process: disableIndications and terminating cleanup, once a kind
  /// for a library, most recently loaded section first. Requests then fail with 1.
  ShutdownOutcome shutdown(bool concurrentSecondWalk = false);
  /// Forgets all MI records and closes the libraries (dlclose). Threads of theirs are not stopped.
  void unloadLibraries();

  // Observation and faults.

  void inject(Fault fault);
  void clearFaults();
  std::vector<Report> reports() const;  ///< every report since the start, oldest first
  void clearReports();
  /// Calls of the context table's eighth slot, from all threads.
  std::size_t contextReleaseCalls() const;

  /// Objects alive in the process, of all brokers and threads.
  static LiveObjects liveObjects();
  /// Objects of the calling thread's memory.
  static std::size_t liveObjectsOfThisThread();

  /// The record that providers get. One for the process: it finds the broker by the calling thread
  /// and, on a thread that never attached, takes the one created last that is still alive. Never
  /// null, valid for ever.
  static const CMPIBroker* cmpi();

  const std::shared_ptr<BrokerState>& state() const { return state_; }

 private:
  std::shared_ptr<BrokerState> state_;
};

/// Makes the calling thread a request thread of a broker as long as it lives: with a context, and
/// memory that is freed at the end. For tests that call provider objects directly. Scopes may be
/// nested.
class RequestScope {
 public:
  explicit RequestScope(Broker& broker, const std::string& providerName = "test",
                        const std::string& className = "");
  ~RequestScope();
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;

  const CMPIBroker* broker() const { return Broker::cmpi(); }
  const CMPIContext* context() const;
  const std::vector<Report>& reports() const;  ///< made in this scope

  /// Broker objects from plain values, in the scope's memory. An instance is made as newInstance
  /// makes it and then set property by property.
  CMPIObjectPath* make(const ObjectPath& path);
  CMPIInstance* make(const Instance& instance);

  // Plain values from broker objects.
  static ObjectPath copy(const CMPIObjectPath* path);
  static Instance copy(const CMPIInstance* instance);
  static Value copy(const CMPIData& data);
  static std::optional<std::string> copy(const CMPIString* text);  ///< null pointer or text: absent

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A CMPIResult that keeps what it is given; belongs to a RequestScope of the same thread, which
/// must outlive it.
class RecordingResult {
 public:
  explicit RecordingResult(RequestScope& scope);
  ~RecordingResult();
  RecordingResult(const RecordingResult&) = delete;
  RecordingResult& operator=(const RecordingResult&) = delete;

  const CMPIResult* record() const;
  const std::vector<Instance>& instances() const;
  const std::vector<ObjectPath>& paths() const;
  const std::vector<Value>& data() const;
  int doneCount() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::broker
