#include "metrics/heartbeat_watch.h"

#include <utility>

#include "metrics/metric_table.h"

namespace orv::metrics {

HeartbeatWatch::HeartbeatWatch(Subscribing subscribing, std::string nameSpace)
    : subscribing_(std::move(subscribing)), nameSpace_(std::move(nameSpace)) {}

HeartbeatWatch::~HeartbeatWatch() {
  if (id_ != 0) subscribing_.unsubscribe(id_);
}

std::optional<double> HeartbeatWatch::lastTime() {
  begin();
  const std::lock_guard<std::mutex> lock(mutex_);
  return last_;
}

std::optional<double> HeartbeatWatch::waitForFirst(std::chrono::milliseconds limit) {
  begin();
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait_for(lock, limit, [this] { return last_.has_value(); });
  return last_;
}

// A subscription that is refused is tried again at the next call.
void HeartbeatWatch::begin() {
  const std::lock_guard<std::mutex> lock(beginning_);
  if (id_ != 0) return;
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM Orvane_CIMHeartbeat";
  filter.sourceNamespace = nameSpace_;
  id_ =
      subscribing_.subscribe(filter, [this](const broker::Instance& heartbeat) { keep(heartbeat); })
          .id;
}

void HeartbeatWatch::keep(const broker::Instance& heartbeat) {
  const broker::Value* time = heartbeat.property(kHeartbeatTime.property);
  const std::optional<double> seconds =
      time == nullptr ? std::nullopt : kHeartbeatTime.conversion->apply(*time);
  if (!seconds) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  last_ = seconds;
  changed_.notify_all();
}

}  // namespace orv::metrics
