#include "daemon/metrics_page.h"

#include <optional>
#include <utility>

#include "metrics/collect.h"

namespace orv::daemon {

serve::GetRoute metricsRoute(broker::Broker& broker, const std::string& nameSpace,
                             metrics::HeartbeatWatch& heartbeats) {
  const auto ask = [&broker](const broker::Request& request) { return broker.request(request); };
  return {"/metrics", [ask, nameSpace, &heartbeats](const serve::GetRequest&) {
            metrics::Metrics found = metrics::collect(ask, nameSpace);
            if (const std::optional<double> time = heartbeats.lastTime()) {
              found.families.push_back(metrics::single(metrics::kHeartbeatTime, *time));
            }
            return serve::HttpAnswer{200,
                                     metrics::textOf(found.families),
                                     metrics::kContentType,
                                     {{"Cache-Control", "no-store"}}};
          }};
}

metrics::Subscribing subscribingTo(broker::Broker& broker) {
  return {[&broker](const broker::IndicationFilter& filter, broker::IndicationHandler handler) {
            return broker.subscribe(filter, std::move(handler));
          },
          [&broker](broker::SubscriptionId id) { broker.unsubscribe(id); }};
}

}  // namespace orv::daemon
