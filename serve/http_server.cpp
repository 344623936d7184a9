#include "serve/http_server.h"

#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "serve/deadline_stream.h"

namespace orv::serve {
namespace {

using std::chrono::milliseconds;

/// For which a client may go on sending what was refused.
constexpr milliseconds kLingerTime{2000};
constexpr std::size_t kRequestsPerConnection = 1000;
constexpr const char* kXml = "application/xml; charset=\"utf-8\"";

const char* reasonOf(int status) {
  switch (status) {
    case 408:
      return "Request Timeout";
    case 431:
      return "Request Header Fields Too Large";
    case 501:
      return "Not Implemented";
    default:
      return "Service Unavailable";
  }
}

/// A whole response for a connection that ends with it, written without waiting.
void sendFinal(int socket, int status) {
  char text[160];
  const int length = std::snprintf(
      text, sizeof text, "HTTP/1.1 %d %s\r\nContent-Length: 0\r\nConnection: close\r\n\r\n", status,
      reasonOf(status));
  ::send(socket, text, static_cast<std::size_t>(length), MSG_NOSIGNAL | MSG_DONTWAIT);
}

/// Open connections: their number is limited, and stopping wakes those that wait for their client.
class Connections {
 public:
  explicit Connections(std::size_t limit) : limit_(limit) {}

  /// False when there are too many, or no more are taken.
  bool add(int socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopping_ || sockets_.size() >= limit_) return false;
    sockets_.insert(socket);
    return true;
  }

  void remove(int socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sockets_.erase(socket);
  }

  void stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    for (const int socket : sockets_) ::shutdown(socket, SHUT_RD);
  }

  bool stopping() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return stopping_;
  }

 private:
  const std::size_t limit_;
  mutable std::mutex mutex_;  // guards what follows
  std::set<int> sockets_;
  bool stopping_ = false;
};

/// One thread a connection. A connection above the limit is refused by the handler at once, so
/// threads stay few.
class ThreadPerConnection : public httplib::TaskQueue {
 public:
  ~ThreadPerConnection() override { waitForAll(); }

  void enqueue(std::function<void()> task) override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ++running_;
    }
    try {
      std::thread([this, task = std::move(task)] {
        task();
        done();
      }).detach();
    } catch (const std::exception&) {
      task();  // no thread to be had: serve it here rather than never
      done();
    }
  }

  void shutdown() override { waitForAll(); }

 private:
  void done() {
    const std::lock_guard<std::mutex> lock(mutex_);
    --running_;
    changed_.notify_all();
  }

  void waitForAll() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return running_ == 0; });
  }

  std::mutex mutex_;  // guards running_
  std::condition_variable changed_;
  std::size_t running_ = 0;
};

}  // namespace

struct HttpServer::Impl : httplib::Server {
  Impl(HttpLimits httpLimits, HttpServer::Handler httpHandler)
      : limits(httpLimits), handler(std::move(httpHandler)), connections(httpLimits.connections) {
    set_payload_max_length(limits.bodyBytes);
    set_keep_alive_timeout(
        std::chrono::duration_cast<std::chrono::seconds>(limits.idleTime).count());
    set_keep_alive_max_count(kRequestsPerConnection);
    // Not the library's default, which lets a second server share the port unnoticed.
    set_socket_options([](socket_t socket) {
      const int yes = 1;
      ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    new_task_queue = [] { return new ThreadPerConnection; };  // owned by the library
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
      return checkHead(request, response);
    });
    Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
      answer(request, response);
    });
    set_exception_handler([](const httplib::Request&, httplib::Response& response,
                             const std::exception_ptr&) { response.status = 500; });
  }

  /// Refuses by the headers alone; what is refused is never read.
  static int refusal(const httplib::Request& request, const HttpLimits& limits) {
    if (request.method != "POST") return 405;
    const std::string type = request.get_header_value("Content-Type");
    if (!type.empty() && type.find("xml") == std::string::npos) return 415;
    if (request.has_header("Content-Encoding")) return 415;  // what it unpacks to has no limit
    const std::string length = request.get_header_value("Content-Length");
    if (length.empty() || request.has_header("Transfer-Encoding")) return 411;
    std::size_t bytes = 0;
    const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), bytes);
    if (error == std::errc::result_out_of_range) return 413;
    if (error != std::errc() || end != length.data() + length.size()) return 400;
    return bytes > limits.bodyBytes ? 413 : 0;
  }

  HandlerResponse checkHead(const httplib::Request& request, httplib::Response& response) const {
    const int status = refusal(request, limits);
    if (status == 0) return HandlerResponse::Unhandled;
    response.status = status;
    response.set_header("Connection", "close");
    if (status == 405) response.set_header("Allow", "POST");
    return HandlerResponse::Handled;
  }

  void answer(const httplib::Request& request, httplib::Response& response) const {
    const HttpAnswer result = handler(request.body);
    response.status = result.status;
    if (!result.cimError.empty()) {
      response.set_header("CIMError", result.cimError);
    } else {
      response.set_header("CIMOperation", "MethodResponse");
      response.set_header("Cache-Control", "no-cache");
    }
    response.set_content(result.body, kXml);
  }

  bool process_and_close_socket(socket_t socket) override {
    if (connections.add(socket)) {
      const bool clientMaySend = serveConnection(socket);
      ::shutdown(socket, SHUT_WR);
      drain(socket, clientMaySend ? kLingerTime : milliseconds(0));
      connections.remove(socket);
    } else {
      sendFinal(socket, 503);
      ::shutdown(socket, SHUT_WR);
      drain(socket, milliseconds(0));
    }
    ::close(socket);
    return true;
  }

  /// The library's queue of connections not yet accepted is five long: a burst of clients would
  /// wait for seconds.
  void lengthenBacklog() { ::listen(svr_sock_, SOMAXCONN); }

  /// Answers one request that nobody sees, so that the library makes its constants while there is
  /// one thread only: a thread sanitizer cannot follow how a library without it guards them.
  void makeConstants() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
    constexpr char kRefused[] = "POST / HTTP/1.1\r\n\r\n";  // without a length
    ::send(ends[0], kRefused, sizeof kRefused - 1, MSG_NOSIGNAL);
    DeadlineStream stream(ends[1], limits);
    stream.beginRequest();
    bool closed = false;
    process_request(stream, true, closed, nullptr);
    ::close(ends[0]);
    ::close(ends[1]);
  }

  /// True when a request was answered before all of it was read.
  bool serveConnection(socket_t socket) {
    DeadlineStream stream(socket, limits);
    bool closed = false;
    for (std::size_t i = 1; !closed && i <= kRequestsPerConnection; ++i) {
      if (connections.stopping() || !stream.waitForRequest()) return false;
      stream.beginRequest();
      if (stream.peek(7) == "M-POST ") {
        sendFinal(socket, 501);
        return true;
      }
      bool refused = false;
      const bool served = process_request(
          stream, i == kRequestsPerConnection, closed,
          [&](httplib::Request& request) { refused = refusal(request, limits) != 0; });
      if (stream.timedOut()) sendFinal(socket, 408);
      if (stream.headersTooLarge()) sendFinal(socket, 431);
      if (!served || refused || stream.timedOut() || stream.headersTooLarge()) return true;
    }
    return false;
  }

  /// Takes what the client still sends: closing before that would destroy the response on its way.
  static void drain(socket_t socket, milliseconds atMost) {
    const auto end = std::chrono::steady_clock::now() + atMost;
    char bytes[16 * 1024];
    for (;;) {
      const ssize_t got = ::recv(socket, bytes, sizeof bytes, MSG_DONTWAIT);
      const auto left =
          std::chrono::duration_cast<milliseconds>(end - std::chrono::steady_clock::now());
      if (got == 0 || left.count() <= 0) return;
      pollfd wanted{socket, POLLIN, 0};
      if (got < 0 && ::poll(&wanted, 1, static_cast<int>(left.count())) <= 0) return;
    }
  }

  const HttpLimits limits;
  const HttpServer::Handler handler;
  Connections connections;
  std::thread listener;
};

HttpServer::HttpServer(HttpLimits limits, Handler handler)
    : impl_(std::make_unique<Impl>(limits, std::move(handler))) {}

HttpServer::~HttpServer() { stop(); }

int HttpServer::start(const ListenAddress& address) {
  int port = address.port;
  if (port == 0) {
    port = impl_->bind_to_any_port(address.host);
  } else if (!impl_->bind_to_port(address.host, port)) {
    port = -1;
  }
  if (port < 0) {
    throw std::runtime_error("cannot listen on " + address.host + " port " +
                             std::to_string(address.port) + ": the address is in use or not here");
  }
  impl_->lengthenBacklog();
  impl_->makeConstants();
  impl_->listener = std::thread([this] { impl_->listen_after_bind(); });
  while (!impl_->is_running()) std::this_thread::yield();
  return port;
}

void HttpServer::stop() {
  if (!impl_->listener.joinable()) return;
  impl_->connections.stop();
  impl_->stop();
  impl_->listener.join();
}

}  // namespace orv::serve
