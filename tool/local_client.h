#pragma once

#include <string>
#include <vector>

#include "client/cim_client.h"
#include "tool/session.h"

namespace orv::tool {

/// This host, through the embedded broker of a session.
class LocalClient : public client::CimClient {
 public:
  /// Fails: BadInput.
  explicit LocalClient(const SessionOptions& options) : session_(options) {}

  broker::Response request(const broker::Request& request) override;
  broker::ClassSource classes(const std::string& nameSpace) override;
  /// The classes of the registration.
  client::ServedClasses servedClasses(const std::string& nameSpace) override;
  broker::SubscribeResult subscribe(const broker::IndicationFilter& filter,
                                    broker::IndicationHandler handler) override;
  broker::Response unsubscribe(broker::SubscriptionId id) override;
  void waitForHealth(const std::string& nameSpace) override;

 private:
  Session session_;
};

}  // namespace orv::tool
