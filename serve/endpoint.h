#pragma once

#include <string>

#include "broker/broker.h"
#include "serve/http_server.h"
#include "serve/indication_export.h"
#include "serve/operations.h"
#include "serve/subscriptions.h"

namespace orv::serve {

/// The CIM-XML endpoint on an embedded broker: HTTP, operations, subscriptions, export of
/// indications.
class Endpoint {
 public:
  struct Settings {
    HttpLimits http;
    IndicationExport::Settings indications;
    std::string host;  ///< HOST of object paths that have none
  };

  /// `broker` must outlive the endpoint; `namespaces` are the broker's, the interop namespace among
  /// them.
  Endpoint(broker::Broker& broker, const Operations::Namespaces& namespaces, Settings settings);

  /// The port in use. Fails as HttpServer::start does.
  int start(const ListenAddress& address) { return server_.start(address); }
  void stop() { server_.stop(); }

 private:
  HttpAnswer answer(const std::string& body);

  IndicationExport exporter_;
  Subscriptions subscriptions_;
  Operations operations_;
  HttpServer server_;  // last: its threads use the others
};

}  // namespace orv::serve
