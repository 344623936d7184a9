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

/// The CIM-XML endpoint on an embedded broker: HTTP, operations, subscriptions, export of
/// indications.
class Endpoint {
 public:
  struct Settings {
    HttpSettings http;
    IndicationExport::Settings indications;
    std::chrono::milliseconds deliveryTime{10'000};  ///< of one attempt to deliver an indication
    std::string listenerAuthorities;                 ///< PEM file; see HttpListenerSettings
    Subscriptions::Settings subscriptions;
    Operations::Limits operations;
    std::vector<GetRoute> routes;  ///< what GET requests are answered
    std::string host;              ///< HOST of object paths that have none
  };

  /// `broker` must outlive the endpoint; `namespaces` are the broker's, the interop namespace among
  /// them.
  Endpoint(broker::Broker& broker, const Operations::Namespaces& namespaces, Settings settings);

  /// Makes the subscriptions that were kept, then serves.
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
