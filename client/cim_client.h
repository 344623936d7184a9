#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_source.h"

/// Requests to a host: to this one through the embedded broker, or to another over the network.
namespace orv::client {

/// A class that a host serves.
struct ServedClass {
  std::string name;
  std::string kind;        ///< "instance", "instance, association", ...
  bool countable = false;  ///< whether its instances can be enumerated
};

/// The classes that a host serves, or the status and text of its refusal.
struct ServedClasses {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::vector<ServedClass> classes;  ///< in the host's order; empty after a failure
};

/// What answers CIM requests. Every member may be called from any thread.
///
/// A CIM error is a response. When there is no response at all, members throw an exception that the
/// implementation documents.
class CimClient {
 public:
  virtual ~CimClient() = default;

  virtual broker::Response request(const broker::Request& request) = 0;

  /// Definitions of the namespace's classes. Valid for as long as the client exists.
  virtual broker::ClassSource classes(const std::string& nameSpace) = 0;

  virtual ServedClasses servedClasses(const std::string& nameSpace) = 0;

  /// Calls the handler with each indication, in another thread, one call at a time per
  /// subscription, and never after `unsubscribe` has returned.
  virtual broker::SubscribeResult subscribe(const broker::IndicationFilter& filter,
                                            broker::IndicationHandler handler) = 0;
  virtual broker::Response unsubscribe(broker::SubscriptionId id) = 0;

  /// Waits until the host's health has been read for the first time, if it was this client that
  /// started the provider. Otherwise returns at once.
  virtual void waitForHealth(const std::string& /*nameSpace*/) {}
};

// The two requests that most commands make.

broker::Response enumerateInstanceNames(CimClient& client, const std::string& nameSpace,
                                        const std::string& className);
broker::Response enumerateInstances(CimClient& client, const std::string& nameSpace,
                                    const std::string& className);

}  // namespace orv::client
