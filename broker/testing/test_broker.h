#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/testing/faults.h"
#include "broker/testing/request_scope.h"

/// The embedded broker as tests use it: with its reports, what it did not pass on to the client,
/// fault injection, and the parts of a provider's life that clients cannot cause.
namespace orv::broker {

/// One provider's answer to its part of a request.
struct ProviderAnswer {
  std::string provider;
  std::string className;  ///< for which it was called
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::size_t instanceCount = 0;
  std::size_t pathCount = 0;
  int doneCount = 0;  ///< calls of returnDone
};

/// A response with what clients do not see of it.
struct TestResponse : Response {
  std::vector<Value> data;  ///< returned with returnData, neither instances nor paths
  int doneCount = 0;        ///< returnDone calls of all providers that were called

  /// Returned before a status other than OK, or after the first instance of getInstance.
  struct {
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;
  } discarded;

  std::vector<ProviderAnswer> answers;  ///< one per provider that was called, in order
  std::vector<Report> reports;          ///< of the request's thread
};

/// One cleanup call.
struct CleanupCall {
  std::string provider;
  std::string className;
  CMPIrc answer = CMPI_RC_OK;
};

struct IdleOutcome {
  /// False when nothing is loaded, there is a subscription or a running request, or the section
  /// that was loaded first has `unload: never`.
  bool asked = false;
  bool exits = false;      ///< the process would end now; the broker has dropped all MI records
  bool asksAgain = false;  ///< a provider answered 50, and none ended the idle check
  std::vector<CleanupCall> calls;
};

struct ShutdownOutcome {
  std::vector<CleanupCall> calls;        ///< of the first pass, in order
  std::vector<CleanupCall> secondCalls;  ///< of the concurrent second pass
};

class TestBroker : public Broker {
 public:
  explicit TestBroker(Options options, ContextTable contextTable = ContextTable::kEightSlots);
  ~TestBroker();

  // Requests as a client makes them.

  TestResponse request(const Request& request);
  TestResponse enumerateInstanceNames(const std::string& nameSpace, const std::string& className);
  TestResponse enumerateInstances(const std::string& nameSpace, const std::string& className,
                                  const PropertyList& properties = std::nullopt);
  TestResponse getInstance(const ObjectPath& path, const PropertyList& properties = std::nullopt);
  TestResponse associators(const ObjectPath& source, const AssociationFilter& filter = {},
                           const PropertyList& properties = std::nullopt);
  TestResponse associatorNames(const ObjectPath& source, const AssociationFilter& filter = {});
  TestResponse references(const ObjectPath& source, const AssociationFilter& filter = {},
                          const PropertyList& properties = std::nullopt);
  TestResponse referenceNames(const ObjectPath& source, const AssociationFilter& filter = {});

  /// Calls the first section of that provider name with the kind that the operation needs: without
  /// routing or substitution of class names, and with the answer as the provider gives it.
  TestResponse requestTo(const std::string& providerName, const Request& request);

  SubscribeResult subscribe(const IndicationFilter& filter, IndicationHandler handler);
  Response unsubscribe(SubscriptionId id);

  // The life of providers.

  /// Sets a subscription's state to disabled: no more deliveries, and disableIndications.
  void disable(SubscriptionId id);
  /// One round of the idle check: non-terminating cleanup, once per kind and library. Does nothing
  /// while a request runs; later requests wait for its end.
  IdleOutcome idleCheck();
  /// As Broker::shutdown; on request with a second terminating pass at the same time.
  ShutdownOutcome shutdown(bool concurrentSecondWalk = false);
  /// Forgets all MI records: the next request calls the factories again.
  void forgetProviders();

  // Observation and faults.

  /// Injects a fault into a slot of the broker's tables, for threads that work for this broker.
  void inject(Fault fault);
  void clearFaults();
  /// Number of faults with limited `times` that have not all happened yet.
  std::size_t faultsToCome() const;
  std::vector<Report> reports() const;  ///< the first 10,000 since the start, oldest first
  void clearReports();
  /// The table of a RequestScope's context.
  ContextTable contextTable() const;

  /// Number of objects alive in the process, of all brokers and threads.
  static std::size_t liveObjects();
  /// Number of those that are contexts.
  static std::size_t liveContexts();
  /// Number of objects in the calling thread's memory.
  static std::size_t liveObjectsOfThisThread();

 private:
  friend class RequestScope;
  struct Internals;
  TestBroker(Options options, std::shared_ptr<Internals> internals);
  TestResponse respond(const Request& request, const std::string* providerName);
  std::vector<CleanupCall> endProviders();

  std::shared_ptr<Internals> internals_;
};

}  // namespace orv::broker
