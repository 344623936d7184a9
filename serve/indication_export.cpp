#include "serve/indication_export.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "cimxml/export_message.h"
#include "serve/log.h"

namespace orv::serve {

IndicationExport::IndicationExport(Settings settings, MakeListener makeListener)
    : settings_(settings), makeListener_(std::move(makeListener)) {}

IndicationExport::~IndicationExport() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto& [destination, queue] : queues_) stop(*queue);
  }
  for (auto& [destination, queue] : queues_) queue->thread.join();
  for (auto& queue : retired_) queue->thread.join();
}

void IndicationExport::prepare(const Destination& destination) {
  const std::lock_guard<std::mutex> lock(mutex_);
  joinFinished();
  if (queues_.count(destination) > 0) return;
  if (queues_.size() >= settings_.destinations) {
    throw std::runtime_error("there are too many destinations of indications");
  }
  auto made = std::make_unique<Queue>();
  Queue& queue = *made;
  queue.url = destination.url;
  queue.listener = makeListener_(destination);
  const auto entry = queues_.emplace(destination, std::move(made)).first;
  try {
    queue.thread = std::thread(&IndicationExport::run, this, std::ref(queue));
  } catch (...) {
    queues_.erase(entry);
    throw;
  }
}

void IndicationExport::enqueue(const Destination& destination,
                               const broker::Instance& indication) noexcept try {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = queues_.find(destination);
  if (found == queues_.end()) return;
  push(*found->second, cimxml::exportMessage(indication, std::to_string(nextMessageId_++)));
} catch (const std::exception&) {
  log(LogLevel::kError, "an indication is lost: there is no memory for it");
}

/// Called with the mutex held.
void IndicationExport::push(Queue& queue, std::string message) {
  queue.bytes += message.size();
  queue.messages.push_back(std::move(message));
  while (queue.messages.size() > settings_.queueLength ||
         (queue.bytes > settings_.queueBytes && queue.messages.size() > 1)) {
    queue.bytes -= queue.messages.front().size();
    queue.messages.pop_front();
    if (std::exchange(queue.keepsUp, false)) {
      log(LogLevel::kWarning, queue.url + " does not keep up; its oldest indications are dropped");
    }
  }
  queue.changed.notify_all();
}

/// Called with the mutex held.
void IndicationExport::stop(Queue& queue) {
  queue.stop = true;
  queue.listener->cancel();
  queue.changed.notify_all();
}

/// Called with the mutex held. A thread that has set `finished` does not lock it any more.
void IndicationExport::joinFinished() {
  const auto finished = std::partition(retired_.begin(), retired_.end(),
                                       [](const auto& queue) { return !queue->finished; });
  std::for_each(finished, retired_.end(), [](const auto& queue) { queue->thread.join(); });
  retired_.erase(finished, retired_.end());
}

void IndicationExport::forget(const Destination& destination) {
  const std::lock_guard<std::mutex> lock(mutex_);
  joinFinished();
  const auto found = queues_.find(destination);
  if (found == queues_.end()) return;
  stop(*found->second);
  retired_.push_back(std::move(found->second));
  queues_.erase(found);
}

void IndicationExport::run(Queue& queue) {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!queue.stop) {
    if (queue.messages.empty()) {
      queue.keepsUp = true;
      queue.changed.wait(lock);
      continue;
    }
    const std::string message = std::move(queue.messages.front());
    queue.messages.pop_front();
    queue.bytes -= message.size();
    lock.unlock();
    const bool delivered = deliver(queue, message);
    lock.lock();
    if (!delivered && !queue.stop) {
      log(LogLevel::kWarning, "an indication could not be delivered to " + queue.url);
    }
  }
  queue.finished = true;
}

bool IndicationExport::deliver(Queue& queue, const std::string& message) {
  for (int attempt = 1;; ++attempt) {
    if (queue.listener->post(message)) return true;
    if (attempt >= settings_.attempts) return false;
    std::unique_lock<std::mutex> lock(mutex_);
    const auto stopped = [&] { return queue.stop; };
    if (queue.changed.wait_for(lock, settings_.retryInterval, stopped)) return false;
  }
}

}  // namespace orv::serve
