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
  std::string interopNamespace = "root/interop";  ///< where subscriptions are created
  /// Where indications are received; empty: at this host's address on the connection to the server.
  std::string listenAddress;
  int listenPort = 0;  ///< 0: a free one
};

/// A host that is managed through a CIM-XML server. When there is no CIM answer, members throw
/// ConnectionError.
class RemoteClient : public CimClient {
 public:
  explicit RemoteClient(RemoteSettings settings);
  /// Deletes the remaining subscriptions if the server can be reached.
  ~RemoteClient() override;

  /// Paths in the answer have no host: it is this server's.
  broker::Response request(const broker::Request& request) override;
  broker::ClassSource classes(const std::string& nameSpace) override;
  /// The concrete classes outside the CIM schema (CIM_), or all concrete classes where a namespace
  /// has only that: a server does not say which classes have providers.
  ServedClasses servedClasses(const std::string& nameSpace) override;
  /// Creates a filter, a handler and a subscription on the server. Whatever fails, deletes what was
  /// created.
  broker::SubscribeResult subscribe(const broker::IndicationFilter& filter,
                                    broker::IndicationHandler handler) override;
  broker::Response unsubscribe(broker::SubscriptionId id) override;

  std::string name() const { return settings_.transport.url.name(); }

 private:
  struct Subscription {
    std::vector<broker::ObjectPath> objects;  // in the order in which they were created
    std::string url;                          // of the handler
  };

  cimxml::Reply call(cimxml::Call call);
  void completePath(const broker::Request& request, broker::Instance& instance);
  IndicationListener& listener();
  broker::Response create(broker::Instance instance, Subscription& subscription);
  broker::Response createAll(const broker::IndicationFilter& filter, Subscription& subscription);
  broker::Response remove(Subscription& subscription);

  const RemoteSettings settings_;
  HttpTransport transport_;
  std::mutex mutex_;  // guards what follows; not held during requests to the server
  std::map<std::string, std::unique_ptr<RemoteClasses>, broker::NameLess> classes_;
  std::map<broker::SubscriptionId, Subscription> subscriptions_;
  broker::SubscriptionId lastSubscription_ = 0;
  std::size_t lastMessage_ = 0;
  std::unique_ptr<IndicationListener> listener_;
};

}  // namespace orv::client
