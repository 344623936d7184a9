#include "serve/endpoint.h"

#include "cimxml/messages.h"
#include "serve/http_listener.h"

namespace orv::serve {
namespace {

IndicationExport::MakeListener listenerMaker(const Endpoint::Settings& settings) {
  HttpListenerSettings listener;
  listener.timeout = settings.deliveryTime;
  listener.authorities = settings.listenerAuthorities;
  listener.rules = settings.subscriptions.rules;
  return [listener](const Destination& destination) {
    return makeHttpListener(destination, listener);
  };
}

std::vector<std::string> namesOf(const Operations::Namespaces& namespaces) {
  std::vector<std::string> names;
  for (const auto& [name, classes] : namespaces) names.push_back(name);
  return names;
}

}  // namespace

Endpoint::Endpoint(broker::Broker& broker, const Operations::Namespaces& namespaces,
                   Settings settings)
    : exporter_(settings.indications, listenerMaker(settings)),
      subscriptions_(broker, *namespaces.at(Interop::kNamespace), exporter_, Interop::kNamespace,
                     settings.subscriptions),
      interop_(*namespaces.at(Interop::kNamespace), subscriptions_, settings.host,
               namesOf(namespaces)),
      operations_(broker, namespaces, interop_, settings.host, settings.operations),
      server_(
          settings.http,
          [this](const Client& client, const std::string& body) { return answer(client, body); },
          std::move(settings.routes)) {}

void Endpoint::start(ListenSocket socket) {
  subscriptions_.restore();
  server_.start(std::move(socket));
}

HttpAnswer Endpoint::answer(const Client& client, const std::string& body) {
  HttpAnswer answer;
  try {
    answer.body = operations_.answer(body, client.address);
    answer.headers = {{"CIMOperation", "MethodResponse"}, {"Cache-Control", "no-cache"}};
  } catch (const cimxml::BadMessage& bad) {
    answer.status = 400;
    answer.headers = {{"CIMError", bad.cimError()}};
  }
  return answer;
}

}  // namespace orv::serve
