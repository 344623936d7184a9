#include "client/indication_listener.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "cimxml/export_message.h"
#include "cimxml/messages.h"
#include "client/http_transport.h"

namespace orv::client {
namespace {

/// 128 random bits as hexadecimal digits.
std::string secret() {
  unsigned char bytes[16];
  if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
    throw ConnectionError("the system gives no random numbers");
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
  }
  return text;
}

/// Sets the address to bind; false when the text is not one.
bool readAddress(const std::string& text, int port, sockaddr_storage& address) {
  auto* const v4 = reinterpret_cast<sockaddr_in*>(&address);
  auto* const v6 = reinterpret_cast<sockaddr_in6*>(&address);
  if (inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
    v4->sin_family = AF_INET;
    v4->sin_port = htons(static_cast<std::uint16_t>(port));
    return true;
  }
  if (inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) != 1) return false;
  v6->sin6_family = AF_INET6;
  v6->sin6_port = htons(static_cast<std::uint16_t>(port));
  return true;
}

/// The body of one request while it arrives.
struct Exchange {
  std::string body;
  bool tooLarge = false;
};

}  // namespace

struct IndicationListener::Impl {
  static Impl& of(void* self) { return *static_cast<Impl*>(self); }

  static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* path,
                              const char* method, const char*, const char* data, std::size_t* size,
                              void** context) try {
    auto* exchange = static_cast<Exchange*>(*context);
    if (exchange == nullptr) {
      *context = new Exchange;
      return MHD_YES;
    }
    if (*size > 0) {
      of(self).take(*exchange, {data, *size});
      *size = 0;
      return MHD_YES;
    }
    return of(self).answer(connection, path, method, *exchange);
  } catch (const std::exception&) {
    return MHD_NO;
  }

  static void onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<Exchange*>(*context);
    *context = nullptr;
  }

  static void onConnection(void* self, MHD_Connection* connection, void**,
                           MHD_ConnectionNotificationCode code) try {
    const int socket =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
    Impl& listener = of(self);
    const std::lock_guard<std::mutex> lock(listener.socketsMutex);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      listener.sockets.insert(socket);
      if (listener.ending) ::shutdown(socket, SHUT_RDWR);
    } else {
      listener.sockets.erase(socket);
      listener.closed.notify_all();
    }
  } catch (const std::exception&) {
    // Without memory for it the connection is not known, and ends with the listener.
  }

  /// Ends the connections before the library is told to stop: libmicrohttpd 0.9.75 crashes on a
  /// request that it refuses itself while it stops.
  void stop() {
    if (daemon == nullptr) return;
    const MHD_socket listening = MHD_quiesce_daemon(daemon);
    {
      std::unique_lock<std::mutex> lock(socketsMutex);
      ending = true;
      for (const int socket : sockets) ::shutdown(socket, SHUT_RDWR);
      closed.wait_for(lock, std::chrono::milliseconds(500), [this] { return sockets.empty(); });
    }
    MHD_stop_daemon(daemon);
    if (listening != MHD_INVALID_SOCKET) ::close(listening);
  }

  /// The library's messages are about broken connections.
  static void passOver(void*, const char*, va_list) {}

  void take(Exchange& exchange, std::string_view data) const {
    exchange.tooLarge =
        exchange.tooLarge || exchange.body.size() + data.size() > limits.messageBytes;
    if (!exchange.tooLarge) exchange.body.append(data);
  }

  MHD_Result answer(MHD_Connection* connection, const std::string& path, std::string_view method,
                    const Exchange& exchange) {
    std::string text;
    unsigned status = 405;
    if (exchange.tooLarge) {
      status = 413;
    } else if (method == "POST" || method == "M-POST") {
      status = deliver(path, exchange.body, text);
    }
    MHD_Response* response =
        MHD_create_response_from_buffer(text.size(), text.data(), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) return MHD_NO;
    MHD_add_response_header(response, "Content-Type", "application/xml; charset=\"utf-8\"");
    if (status == 200) MHD_add_response_header(response, "CIMExport", "MethodResponse");
    const MHD_Result queued = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return queued;
  }

  /// Returns the HTTP status and, with 200, sets the response.
  unsigned deliver(const std::string& path, const std::string& body, std::string& response) try {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto handler = handlers.find(path);
    if (handler == handlers.end()) return 404;
    const cimxml::ExportedIndication exported = cimxml::readExport(body);
    handler->second(exported.indication);
    response = cimxml::exportResponse(exported.messageId);
    return 200;
  } catch (const cimxml::BadMessage&) {
    return 400;
  } catch (const cimxml::CimError&) {
    return 400;
  } catch (const std::exception&) {
    return 500;
  }

  Limits limits;
  std::string urlBegin;  // "http://192.0.2.1:4711"
  std::mutex mutex;      // guards handlers; held while one runs
  std::map<std::string, broker::IndicationHandler> handlers;  // by path
  std::mutex socketsMutex;                                    // guards the next two
  std::set<int> sockets;                                      // of the open connections
  bool ending = false;
  std::condition_variable closed;
  MHD_Daemon* daemon = nullptr;
};

IndicationListener::IndicationListener(const std::string& address, int port, Limits limits)
    : impl_(std::make_unique<Impl>()) {
  impl_->limits = limits;
  sockaddr_storage where{};
  if (!readAddress(address, port, where)) {
    throw ConnectionError("cannot listen at \"" + address + "\": it is not an address");
  }
  const bool v6 = where.ss_family == AF_INET6;
  unsigned flags = MHD_USE_AUTO_INTERNAL_THREAD | MHD_USE_ERROR_LOG | MHD_USE_ITC;
  if (v6) flags |= MHD_USE_IPv6;
  impl_->daemon = MHD_start_daemon(
      flags, 0, nullptr, nullptr, &Impl::onRequest, impl_.get(), MHD_OPTION_EXTERNAL_LOGGER,
      &Impl::passOver, nullptr, MHD_OPTION_SOCK_ADDR, reinterpret_cast<sockaddr*>(&where),
      MHD_OPTION_CONNECTION_LIMIT, limits.connections, MHD_OPTION_CONNECTION_TIMEOUT,
      limits.idleSeconds, MHD_OPTION_NOTIFY_COMPLETED, &Impl::onCompleted, nullptr,
      MHD_OPTION_NOTIFY_CONNECTION, &Impl::onConnection, impl_.get(), MHD_OPTION_END);
  if (impl_->daemon == nullptr) {
    throw ConnectionError("cannot listen at " + address + " port " + std::to_string(port) + ": " +
                          std::strerror(errno));
  }
  const MHD_DaemonInfo* info = MHD_get_daemon_info(impl_->daemon, MHD_DAEMON_INFO_BIND_PORT);
  impl_->urlBegin = "http://" + (v6 ? "[" + address + "]" : address) + ":" +
                    std::to_string(info != nullptr ? info->port : 0);
}

IndicationListener::~IndicationListener() { impl_->stop(); }

std::string IndicationListener::add(broker::IndicationHandler handler) {
  const std::string path = "/" + secret();
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  impl_->handlers[path] = std::move(handler);
  return impl_->urlBegin + path;
}

void IndicationListener::remove(const std::string& url) {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  impl_->handlers.erase(url.substr(impl_->urlBegin.size()));
}

}  // namespace orv::client
