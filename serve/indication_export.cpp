#include "serve/indication_export.h"

#include <fcntl.h>
#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "cimxml/export_message.h"

namespace orv::serve {
namespace {

constexpr std::string_view kScheme = "http://";
constexpr int kDefaultPort = 80;
constexpr int kMaximumPort = 65535;
constexpr std::chrono::milliseconds kCancelAgain{20};

struct Url {
  std::string host;
  int port = kDefaultPort;
  std::string path;
};

/// Reads "http://" host [":" port] ["/" path]; a host with colons stands in brackets.
std::optional<Url> readUrl(std::string_view text) {
  if (text.substr(0, kScheme.size()) != kScheme) return std::nullopt;
  text.remove_prefix(kScheme.size());
  const std::size_t slash = std::min(text.find('/'), text.size());
  Url url;
  url.path = slash == text.size() ? "/" : std::string(text.substr(slash));
  text = text.substr(0, slash);
  const bool bracketed = !text.empty() && text.front() == '[';
  const std::size_t end = bracketed ? text.find(']') : std::min(text.find(':'), text.size());
  if (end == std::string_view::npos) return std::nullopt;
  url.host = std::string(bracketed ? text.substr(1, end - 1) : text.substr(0, end));
  text.remove_prefix(bracketed ? end + 1 : end);
  const std::string_view kForbidden = " \t\r\n@?#";
  if (url.host.empty() || url.host.find_first_of(kForbidden) != std::string::npos ||
      url.path.find_first_of(" \t\r\n") != std::string::npos) {
    return std::nullopt;
  }
  if (text.empty()) return url;
  const char* last = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + 1, last, url.port);
  const bool isPort = text.front() == ':' && error == std::errc() && rest == last && url.port > 0 &&
                      url.port <= kMaximumPort;
  return isPort ? std::optional<Url>(url) : std::nullopt;
}

/// The socket of a post under way, a descriptor of our own beside the library's: another thread may
/// end the connection, also one that is still being made.
class SocketUnderWay {
 public:
  ~SocketUnderWay() { release(); }

  void hold(int socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (socket_ >= 0) ::close(socket_);
    socket_ = ::fcntl(socket, F_DUPFD_CLOEXEC, 0);
  }

  void release() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
  }

  void end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (socket_ >= 0) ::shutdown(socket_, SHUT_RDWR);
  }

 private:
  std::mutex mutex_;  // guards socket_
  int socket_ = -1;
};

class HttpListener : public Listener {
 public:
  HttpListener(const Url& url, std::chrono::milliseconds timeout)
      : client_(url.host, url.port), path_(url.path) {
    client_.set_connection_timeout(timeout);
    client_.set_read_timeout(timeout);
    client_.set_write_timeout(timeout);
    client_.set_socket_options([this](int socket) { socket_.hold(socket); });
  }

  bool post(const std::string& message) override {
    const httplib::Headers headers = {{"CIMProtocolVersion", "1.0"},
                                      {"CIMExport", "MethodRequest"},
                                      {"CIMExportMethod", "ExportIndication"}};
    const httplib::Result result =
        client_.Post(path_, headers, message, "application/xml; charset=\"utf-8\"");
    socket_.release();
    return result && result->status < 400;
  }

  void cancel() override { socket_.end(); }

 private:
  SocketUnderWay socket_;
  httplib::Client client_;
  const std::string path_;
};

}  // namespace

std::unique_ptr<Listener> makeHttpListener(const std::string& url,
                                           std::chrono::milliseconds timeout) {
  const std::optional<Url> read = readUrl(url);
  if (!read) throw std::invalid_argument(url + " is no http URL");
  return std::make_unique<HttpListener>(*read, timeout);
}

IndicationExport::IndicationExport(Settings settings, MakeListener makeListener)
    : settings_(settings), makeListener_(std::move(makeListener)) {}

IndicationExport::~IndicationExport() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (auto& [url, destination] : destinations_) retired_.push_back(std::move(destination));
  destinations_.clear();
  for (const auto& destination : retired_) stop(*destination);
  for (const auto& destination : retired_) {
    // Again and again: a post that is about to begin does not see the first.
    while (!destination->finished) {
      stop(*destination);
      destination->changed.wait_for(lock, kCancelAgain);
    }
  }
  joinFinished();
}

bool IndicationExport::isUsable(const std::string& url) { return readUrl(url).has_value(); }

std::unique_ptr<IndicationExport::Destination> IndicationExport::makeDestination(
    const std::string& url) {
  auto made = std::make_unique<Destination>();
  made->url = url;
  made->listener = makeListener_(url, settings_.timeout);
  made->thread = std::thread(&IndicationExport::run, this, std::ref(*made));
  return made;
}

void IndicationExport::enqueue(const std::string& url, const broker::Instance& indication) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto found = destinations_.find(url);
  if (found == destinations_.end()) found = destinations_.emplace(url, makeDestination(url)).first;
  Destination& destination = *found->second;
  if (destination.messages.size() >= settings_.queueLength) {
    destination.messages.pop_front();
    if (std::exchange(destination.keepsUp, false)) {
      std::fprintf(stderr, "orvcim: %s does not keep up; its oldest indications are dropped\n",
                   url.c_str());
    }
  }
  destination.messages.push_back(
      cimxml::exportMessage(indication, std::to_string(nextMessageId_++)));
  destination.changed.notify_all();
}

/// Called with the mutex held.
void IndicationExport::stop(Destination& destination) {
  destination.stop = true;
  destination.listener->cancel();
  destination.changed.notify_all();
}

/// Called with the mutex held. A thread that has said that it is finished no longer wants it.
void IndicationExport::joinFinished() {
  const auto finished =
      std::partition(retired_.begin(), retired_.end(),
                     [](const auto& destination) { return !destination->finished; });
  std::for_each(finished, retired_.end(),
                [](const auto& destination) { destination->thread.join(); });
  retired_.erase(finished, retired_.end());
}

void IndicationExport::forget(const std::string& url) {
  const std::lock_guard<std::mutex> lock(mutex_);
  joinFinished();
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
      destination.keepsUp = true;
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
  destination.finished = true;
  destination.changed.notify_all();
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
