#include "serve/indication_export.h"

#include <httplib.h>

#include <cstdio>
#include <utility>

#include "serve/cim_xml_writer.h"

namespace orv::serve {
namespace {

constexpr const char* kScheme = "http://";
constexpr std::size_t kSchemeLength = 7;

class HttpListener : public Listener {
 public:
  HttpListener(const std::string& server, std::string path, std::chrono::milliseconds timeout)
      : client_(server), path_(std::move(path)) {
    client_.set_connection_timeout(timeout);
    client_.set_read_timeout(timeout);
    client_.set_write_timeout(timeout);
  }

  bool post(const std::string& message) override {
    const httplib::Headers headers = {{"CIMProtocolVersion", "1.0"},
                                      {"CIMExport", "MethodRequest"},
                                      {"CIMExportMethod", "ExportIndication"}};
    const httplib::Result result =
        client_.Post(path_, headers, message, "application/xml; charset=\"utf-8\"");
    return result && result->status < 400;
  }

  void cancel() override { client_.stop(); }

 private:
  httplib::Client client_;
  const std::string path_;
};

}  // namespace

std::unique_ptr<Listener> makeHttpListener(const std::string& url,
                                           std::chrono::milliseconds timeout) {
  const std::size_t slash = url.find('/', kSchemeLength);
  const bool hasPath = slash != std::string::npos;
  return std::make_unique<HttpListener>(url.substr(0, slash), hasPath ? url.substr(slash) : "/",
                                        timeout);
}

IndicationExport::IndicationExport(Settings settings, MakeListener makeListener)
    : settings_(settings), makeListener_(std::move(makeListener)) {}

IndicationExport::~IndicationExport() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto& [url, destination] : destinations_) retired_.push_back(std::move(destination));
    for (const auto& destination : retired_) stop(*destination);
  }
  for (const auto& destination : retired_) destination->thread.join();
}

bool IndicationExport::isUsable(const std::string& url) {
  return url.rfind(kScheme, 0) == 0 && url.size() > kSchemeLength && url[kSchemeLength] != '/';
}

void IndicationExport::enqueue(const std::string& url, const broker::Instance& indication) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::unique_ptr<Destination>& slot = destinations_[url];
  if (!slot) {
    slot = std::make_unique<Destination>();
    slot->url = url;
    slot->listener = makeListener_(url, settings_.timeout);
    slot->thread = std::thread(&IndicationExport::run, this, std::ref(*slot));
  }
  Destination& destination = *slot;
  if (destination.messages.size() >= settings_.queueLength) {
    destination.messages.pop_front();
    if (destination.lost++ == 0) {
      std::fprintf(stderr, "orvcim: %s does not keep up; its oldest indications are dropped\n",
                   url.c_str());
    }
  }
  destination.messages.push_back(exportMessage(indication, std::to_string(nextMessageId_++)));
  destination.changed.notify_all();
}

/// Called with the mutex held.
void IndicationExport::stop(Destination& destination) {
  destination.stop = true;
  destination.listener->cancel();
  destination.changed.notify_all();
}

void IndicationExport::forget(const std::string& url) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = destinations_.find(url);
  if (found == destinations_.end()) return;
  stop(*found->second);
  retired_.push_back(std::move(found->second));
  destinations_.erase(found);
}

void IndicationExport::run(Destination& destination) {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!destination.stop) {
    if (destination.messages.empty()) {
      destination.changed.wait(lock);
      continue;
    }
    const std::string message = std::move(destination.messages.front());
    destination.messages.pop_front();
    lock.unlock();
    const bool delivered = deliver(destination, message);
    lock.lock();
    if (!delivered && !destination.stop) {
      std::fprintf(stderr, "orvcim: an indication could not be delivered to %s\n",
                   destination.url.c_str());
    }
  }
}

bool IndicationExport::deliver(Destination& destination, const std::string& message) {
  for (int attempt = 1;; ++attempt) {
    if (destination.listener->post(message)) return true;
    if (attempt >= settings_.attempts) return false;
    std::unique_lock<std::mutex> lock(mutex_);
    const auto stopped = [&] { return destination.stop; };
    if (destination.changed.wait_for(lock, settings_.retryInterval, stopped)) return false;
  }
}

}  // namespace orv::serve
