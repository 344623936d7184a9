#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "cimxml/messages.h"
#include "cimxml/response_reader.h"
#include "client/cim_client.h"
#include "client/http_transport.h"
#include "client/indication_listener.h"
#include "client/remote_classes.h"

namespace orv::client {

struct RemoteSettings {
  TransportSettings transport;
  std::string interopNamespace = "root/interop";  ///< where subscriptions are made
  /// Where indications are taken; empty: at the address from which the server is reached.
  std::string listenAddress;
  int listenPort = 0;  ///< 0: a free one
};

/// A host that a CIM-XML server answers for. Where there is no CIM answer, operations throw
/// ConnectionError.
class RemoteClient : public CimClient {
 public:
  explicit RemoteClient(RemoteSettings settings);
  /// Ends the subscriptions that are left, as far as the server can be reached.
  ~RemoteClient() override;

  /// Paths of the answer have no host: it is the one that was asked.
  broker::Response request(const broker::Request& request) override;
  broker::ClassSource classes(const std::string& nameSpace) override;
  /// The concrete classes that are not of the CIM schema (CIM_), or, in a namespace without any,
  /// all concrete classes: a server does not tell which ones have providers.
  ServedClasses servedClasses(const std::string& nameSpace) override;
  /// Makes a filter, a handler and a subscription on the server.
  broker::SubscribeResult subscribe(const broker::IndicationFilter& filter,
                                    broker::IndicationHandler handler) override;
  broker::Response unsubscribe(broker::SubscriptionId id) override;

  std::string name() const { return settings_.transport.url.name(); }

 private:
  struct Subscription {
    std::vector<broker::ObjectPath> objects;  // in the order in which they were made
    std::string url;                          // of the handler
  };

  cimxml::Reply call(cimxml::Call call);
  cimxml::Reply enumerateNames(const std::string& nameSpace);
  void completePath(const broker::Request& request, broker::Instance& instance);
  IndicationListener& listener();
  broker::Response create(broker::Instance instance, Subscription& subscription);
  broker::Response remove(Subscription& subscription);

  const RemoteSettings settings_;
  HttpTransport transport_;
  std::mutex mutex_;  // guards what follows; never held while the server is asked
  std::map<std::string, std::unique_ptr<RemoteClasses>, broker::NameLess> classes_;
  std::map<broker::SubscriptionId, Subscription> subscriptions_;
  broker::SubscriptionId lastSubscription_ = 0;
  std::size_t lastMessage_ = 0;
  std::unique_ptr<IndicationListener> listener_;
};

}  // namespace orv::client
