#include "serve/indication_export.h"

#include <httplib.h>

#include <cstdio>
#include <utility>
#include <vector>

#include "serve/cim_xml_writer.h"

namespace orv::serve {
namespace {

struct Url {
  std::string server;  // scheme, host and port
  std::string path;
};

Url split(const std::string& url) {
  constexpr std::size_t kSchemeLength = 7;  // http://
  const std::size_t slash = url.find('/', kSchemeLength);
  if (slash == std::string::npos) return {url, "/"};
  return {url.substr(0, slash), url.substr(slash)};
}

}  // namespace

IndicationExport::IndicationExport(Settings settings, Post post)
    : settings_(settings), post_(std::move(post)) {}

IndicationExport::~IndicationExport() {
  std::vector<std::string> urls;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [url, destination] : destinations_) {
      urls.push_back(url);
      destination->stop = true;  // all at once, then one by one
      destination->changed.notify_all();
    }
  }
  for (const std::string& url : urls) forget(url);
}

bool IndicationExport::isUsable(const std::string& url) {
  const Url parts = split(url);
  return url.rfind("http://", 0) == 0 && parts.server.size() > 7;
}

void IndicationExport::enqueue(const std::string& url, const broker::Instance& indication) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::unique_ptr<Destination>& destination = destinations_[url];
  if (!destination) {
    destination = std::make_unique<Destination>();
    destination->thread = std::thread(&IndicationExport::run, this, url, std::ref(*destination));
  }
  if (destination->messages.size() >= settings_.queueLength) {
    destination->messages.pop_front();
    if (destination->lost++ == 0) {
      std::fprintf(stderr, "orvcim: %s does not keep up; its oldest indications are dropped\n",
                   url.c_str());
    }
  }
  destination->messages.push_back(exportMessage(indication, std::to_string(nextMessageId_++)));
  destination->changed.notify_all();
}

void IndicationExport::forget(const std::string& url) {
  std::unique_ptr<Destination> destination;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = destinations_.find(url);
    if (found == destinations_.end()) return;
    destination = std::move(found->second);
    destinations_.erase(found);
    destination->stop = true;
    destination->changed.notify_all();
  }
  destination->thread.join();
}

void IndicationExport::run(const std::string& url, Destination& destination) {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!destination.stop) {
    if (destination.messages.empty()) {
      destination.changed.wait(lock);
      continue;
    }
    const std::string message = std::move(destination.messages.front());
    destination.messages.pop_front();
    lock.unlock();
    const bool delivered = deliver(url, message, destination);
    lock.lock();
    if (!delivered && !destination.stop) {
      std::fprintf(stderr, "orvcim: an indication could not be delivered to %s\n", url.c_str());
    }
  }
}

bool IndicationExport::deliver(const std::string& url, const std::string& message,
                               Destination& destination) {
  for (int attempt = 1;; ++attempt) {
    if (post_(url, message, settings_.timeout)) return true;
    if (attempt >= settings_.attempts) return false;
    std::unique_lock<std::mutex> lock(mutex_);
    const auto stopped = [&] { return destination.stop; };
    if (destination.changed.wait_for(lock, settings_.retryInterval, stopped)) return false;
  }
}

bool IndicationExport::postOverHttp(const std::string& url, const std::string& message,
                                    std::chrono::milliseconds timeout) {
  const Url parts = split(url);
  httplib::Client client(parts.server);
  client.set_connection_timeout(timeout);
  client.set_read_timeout(timeout);
  client.set_write_timeout(timeout);
  const httplib::Headers headers = {{"CIMProtocolVersion", "1.0"},
                                    {"CIMExport", "MethodRequest"},
                                    {"CIMExportMethod", "ExportIndication"}};
  const httplib::Result result =
      client.Post(parts.path, headers, message, "application/xml; charset=\"utf-8\"");
  return result && result->status < 400;
}

}  // namespace orv::serve
