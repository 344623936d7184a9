#pragma once

#include <string>

#include "broker/broker.h"
#include "metrics/heartbeat_watch.h"
#include "serve/http_answer.h"

namespace orv::daemon {

/// GET /metrics: what `orvcim metrics` prints, and the time of the last heartbeat. The status is
/// always 200; orvane_class_success says which classes could not be read.
///
/// `broker` and `heartbeats` must outlive the route.
serve::GetRoute metricsRoute(broker::Broker& broker, const std::string& nameSpace,
                             metrics::HeartbeatWatch& heartbeats);

/// Subscribes directly with the broker, unseen by clients. `broker` must outlive the result.
metrics::Subscribing subscribingTo(broker::Broker& broker);

}  // namespace orv::daemon
