#include "serve/endpoint.h"

#include "cimxml/messages.h"

namespace orv::serve {

Endpoint::Endpoint(broker::Broker& broker, const Operations::Namespaces& namespaces,
                   Settings settings)
    : exporter_(settings.indications),
      subscriptions_(broker, *namespaces.at(Operations::kInteropNamespace), exporter_,
                     Operations::kInteropNamespace),
      operations_(broker, namespaces, subscriptions_, settings.host),
      server_(settings.http, [this](const std::string& body) { return answer(body); }) {}

HttpAnswer Endpoint::answer(const std::string& body) {
  try {
    return {200, operations_.answer(body), ""};
  } catch (const cimxml::BadMessage& bad) {
    return {400, "", bad.cimError()};
  }
}

}  // namespace orv::serve
