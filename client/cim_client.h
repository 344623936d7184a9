#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_source.h"

/// Asking a host: this one through the embedded broker, or another over the network.
namespace orv::client {

/// A class that a host serves.
struct ServedClass {
  std::string name;
  std::string kind;        ///< "instance", "instance, association", ...
  bool countable = false;  ///< whether its instances can be enumerated
};

/// Which classes a host serves, or why it does not tell.
struct ServedClasses {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::vector<ServedClass> classes;  ///< in the host's order; empty after a failure
};

/// Somebody who answers CIM requests. Every member may be called from any thread.
///
/// A CIM failure is an answer; that there is no answer at all is an exception of the
/// implementation.
class CimClient {
 public:
  virtual ~CimClient() = default;

  virtual broker::Response request(const broker::Request& request) = 0;

  /// Definitions of the namespace's classes. Valid as long as the client.
  virtual broker::ClassSource classes(const std::string& nameSpace) = 0;

  virtual ServedClasses servedClasses(const std::string& nameSpace) = 0;

  /// The handler runs in another thread, one call at a time for a subscription, and never after
  /// `unsubscribe` has returned.
  virtual broker::SubscribeResult subscribe(const broker::IndicationFilter& filter,
                                            broker::IndicationHandler handler) = 0;
  virtual broker::Response unsubscribe(broker::SubscriptionId id) = 0;

  /// Waits until the host's health has been looked at once, where this client is what started that.
  virtual void waitForHealth(const std::string& /*nameSpace*/) {}
};

// The requests that commands make.

broker::Response enumerateInstanceNames(CimClient& client, const std::string& nameSpace,
                                        const std::string& className);
broker::Response enumerateInstances(CimClient& client, const std::string& nameSpace,
                                    const std::string& className);

}  // namespace orv::client
