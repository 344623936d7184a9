#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/testing/faults.h"
#include "broker/testing/request_scope.h"

/// The embedded broker as tests use it: with the reports that it made, what was thrown away on the
/// way to the client, faults on command, and the parts of a provider's life that no client causes.
namespace orv::broker {

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

/// A response with what no client sees of it.
struct TestResponse : Response {
  std::vector<Value> data;  ///< what came through returnData and is neither instance nor path
  int doneCount = 0;        ///< returnDone calls of all providers asked

  /// What was returned before a status other than OK, and after the first instance of getInstance.
  struct {
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;
  } discarded;

  std::vector<ProviderAnswer> answers;  ///< one for each provider asked, in order
  std::vector<Report> reports;          ///< made in the request's thread
};

/// One cleanup call.
struct CleanupCall {
  std::string provider;
  std::string className;
  CMPIrc answer = CMPI_RC_OK;
};

struct IdleOutcome {
  /// False: nothing is loaded, a subscription or a request is there, or `unload: never` came first.
  bool asked = false;
  bool exits = false;      ///< the process would end now; the broker has dropped all MI records
  bool asksAgain = false;  ///< someone answered 50, nobody anything that ends the idle check
  std::vector<CleanupCall> calls;
};

struct ShutdownOutcome {
  std::vector<CleanupCall> calls;        ///< of the first walk, in their order
  std::vector<CleanupCall> secondCalls;  ///< of the concurrent second one
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

  /// Asks the first section of that provider name that has the kind which the operation needs: no
  /// routing, no substitution of class names, the answer as the provider gives it.
  TestResponse requestTo(const std::string& providerName, const Request& request);

  SubscribeResult subscribe(const IndicationFilter& filter, IndicationHandler handler);
  Response unsubscribe(SubscriptionId id);

  // Life of providers.

  /// Sets a subscription's state to disabled: no more deliveries, and disableIndications.
  void disable(SubscriptionId id);
  /// One round of the idle check: cleanup, not terminating, once per kind for a library. Not asked
  /// while a request runs; requests wait for its end.
  IdleOutcome idleCheck();
  /// As Broker::shutdown; with a second terminating walk at the same time when wanted.
  ShutdownOutcome shutdown(bool concurrentSecondWalk = false);
  /// Forgets all MI records: the next request calls the factories again.
  void forgetProviders();

  // Observation and faults.

  /// Makes a slot of the broker's tables answer otherwise, in threads that work for this broker.
  void inject(Fault fault);
  void clearFaults();
  /// Faults with a limited number of `times` that have a hit left.
  std::size_t faultsToCome() const;
  std::vector<Report> reports() const;  ///< the first 10,000 since the start, oldest first
  void clearReports();
  /// That of a RequestScope's context.
  ContextTable contextTable() const;

  /// Objects alive in the process, of all brokers and threads.
  static std::size_t liveObjects();
  /// Those of them that are contexts.
  static std::size_t liveContexts();
  /// Objects in the calling thread's memory.
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
