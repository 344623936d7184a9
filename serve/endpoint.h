#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "broker/broker.h"
#include "serve/http_server.h"
#include "serve/indication_export.h"
#include "serve/interop.h"
#include "serve/operations.h"
#include "serve/subscriptions.h"

namespace orv::serve {

/// The CIM-XML endpoint of an embedded broker: HTTP, operations, subscriptions, export of
/// indications.
class Endpoint {
 public:
  struct Settings {
    HttpSettings http;
    IndicationExport::Settings indications;
    std::chrono::milliseconds deliveryTime{10'000};  ///< for one attempt to deliver an indication
    std::string listenerAuthorities;                 ///< PEM file; see HttpListenerSettings
    Subscriptions::Settings subscriptions;
    Operations::Limits operations;
    std::vector<GetRoute> routes;  ///< the answers to GET requests
    std::string host;              ///< HOST element of object paths that name no host
  };

  /// `broker` must outlive the endpoint; `namespaces` are the broker's, including the interop
  /// namespace.
  Endpoint(broker::Broker& broker, const Operations::Namespaces& namespaces, Settings settings);

  /// Restores the stored subscriptions, then serves.
  ///
  /// Fails: std::runtime_error, as Subscriptions::restore and HttpServer::start do.
  void start(ListenSocket socket);
  void stop() { server_.stop(); }
  /// See WorkerPool::longestWait.
  std::chrono::milliseconds longestWait() const { return server_.longestWait(); }

 private:
  HttpAnswer answer(const Client& client, const std::string& body);

  IndicationExport exporter_;
  Subscriptions subscriptions_;
  Interop interop_;
  Operations operations_;
  HttpServer server_;  // last: its threads use the others
};

}  // namespace orv::serve
