#include "web/events.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

#include "notation/json.h"
#include "serve/log.h"

namespace orv::web {
namespace {

using serve::BodyStream;
using serve::HttpAnswer;

constexpr const char* kBeat = ": the service is there\n\n";
/// Has browsers wait this many milliseconds before they connect again.
constexpr const char* kStart = "retry: 3000\n\n";

std::string timeText() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[sizeof "2026-01-02T03:04:05Z"] = "";
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::string idOfProcess() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()) + "-";
}

}  // namespace

Events::Events(const Host& host, const std::vector<std::string>& classNames, Limits limits)
    : host_(host), limits_(limits), firstOfId_(idOfProcess()) {
  for (const std::string& name : classNames) classes_.push_back({name});
}

Events::~Events() {
  for (const EventClass& one : classes_) {
    if (one.subscription != 0) host_.broker.unsubscribe(one.subscription);
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& listener : listeners_) {
    if (const auto stream = listener.lock()) stream->end();
  }
}

serve::GetRoute Events::route() {
  return {"/api/events", [this](const serve::GetRequest& request) {
            if (!request.parameters.empty()) {
              return serve::errorAnswer(400, "this path takes no parameters");
            }
            return listen();
          }};
}

HttpAnswer Events::listen() {
  auto stream = std::make_shared<BodyStream>(limits_.listenerBytes, kBeat);
  std::unique_lock<std::mutex> lock(mutex_);
  forgetTheGone();
  if (listeners_.size() >= limits_.listeners) {
    HttpAnswer answer = serve::errorAnswer(503, "too many clients listen to events");
    answer.headers.emplace_back("Retry-After", "30");
    return answer;
  }
  stream->append(kStart);
  for (const std::string& event : kept_) stream->append(event);
  listeners_.push_back(stream);
  lock.unlock();
  subscribe();  // after adding the listener: the first indications come at once
  return {200, "", "text/event-stream", {{"Cache-Control", "no-store"}}, stream};
}

/// For the classes without a subscription: all of them at first, later those that were refused.
void Events::subscribe() {
  const std::lock_guard<std::mutex> lock(subscribing_);
  for (EventClass& one : classes_) {
    if (one.subscription != 0) continue;
    broker::IndicationFilter filter;
    filter.query = "SELECT * FROM " + one.name;
    filter.sourceNamespace = host_.nameSpace;
    filter.name = "orvcimd:events:" + one.name;
    const broker::SubscribeResult result = host_.broker.subscribe(
        filter, [this](const broker::Instance& indication) { send(indication); });
    one.subscription = result.id;
    if (result.ok() || std::exchange(one.refused, true)) continue;
    log(serve::LogLevel::kWarning, "/api/events leaves out " + one.name + ": " +
                                       result.message.value_or(broker::statusText(result.rc)));
  }
}

/// Called in the thread that delivers the indication.
void Events::send(const broker::Instance& indication) try {
  notation::Json data = {{"received", timeText()}};
  data.update(notation::toJson(indication, *host_.classes, false));
  const std::string text = notation::jsonText(data, -1);
  const std::lock_guard<std::mutex> lock(mutex_);
  std::string event = "id: " + firstOfId_ + std::to_string(++lastId_) +
                      "\nevent: indication\ndata: " + text + "\n\n";
  forgetTheGone();
  for (const auto& listener : listeners_) {
    if (const auto stream = listener.lock()) stream->append(event);
  }
  keep(std::move(event));
} catch (const std::exception& e) {
  log(serve::LogLevel::kWarning,
      std::string("an indication did not reach /api/events: ") + e.what());
}

void Events::keep(std::string event) {
  keptBytes_ += event.size();
  kept_.push_back(std::move(event));
  while (kept_.size() > limits_.kept || keptBytes_ > limits_.keptBytes) {
    keptBytes_ -= kept_.front().size();
    kept_.pop_front();
  }
}

void Events::forgetTheGone() {
  listeners_.remove_if([](const std::weak_ptr<BodyStream>& listener) {
    const auto stream = listener.lock();
    return stream == nullptr || stream->ended();
  });
}

}  // namespace orv::web
