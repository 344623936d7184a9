#pragma once

#include <string>

#include "broker/broker.h"
#include "metrics/heartbeat_watch.h"
#include "serve/http_answer.h"

namespace orv::daemon {

/// GET /metrics: what `orvcim metrics` prints, and the time of the last heartbeat. Always 200; a
/// class that its provider does not answer for is reported in the metrics.
///
/// Broker and watch must outlive the route.
serve::GetRoute metricsRoute(broker::Broker& broker, const std::string& nameSpace,
                             metrics::HeartbeatWatch& heartbeats);

/// Subscriptions inside the broker, which no client sees. The broker must outlive them.
metrics::Subscribing subscribingTo(broker::Broker& broker);

}  // namespace orv::daemon
