#include "tests/real_broker/export_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace orv::test {
namespace {

constexpr char kAccepted[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
    "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP>"
    "<EXPMETHODRESPONSE NAME=\"ExportIndication\"><IRETURNVALUE></IRETURNVALUE>"
    "</EXPMETHODRESPONSE></SIMPLEEXPRSP></MESSAGE></CIM>\n";

bool isWhole(const std::string& request) { return request.find("</CIM>") != std::string::npos; }

bool isOf(const std::string& message, const std::string& className) {
  return message.find("<INSTANCE CLASSNAME=\"" + className + "\"") != std::string::npos;
}

}  // namespace

ExportListener::ExportListener() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
      ::listen(socket_, 16) != 0 ||
      ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("cannot listen");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

ExportListener::~ExportListener() {
  ends_ = true;
  thread_.join();
  ::close(socket_);
}

std::string ExportListener::waitFor(const std::string& className, std::chrono::seconds limit) {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto find = [&] {
    return std::find_if(taken_.begin(), taken_.end(),
                        [&](const std::string& message) { return isOf(message, className); });
  };
  const bool came = arrived_.wait_for(lock, limit, [&] { return find() != taken_.end(); });
  return came ? *find() : "";
}

std::size_t ExportListener::count() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return taken_.size();
}

void ExportListener::serve() {
  while (!ends_) {
    pollfd wanted{socket_, POLLIN, 0};
    if (::poll(&wanted, 1, 100) <= 0) continue;
    const int connection = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    answer(connection);
    ::close(connection);
  }
}

void ExportListener::answer(int connection) {
  std::string request;
  char bytes[4096];
  while (!isWhole(request)) {
    pollfd wanted{connection, POLLIN, 0};
    if (::poll(&wanted, 1, 5000) <= 0) return;
    const ssize_t got = ::recv(connection, bytes, sizeof bytes, 0);
    if (got <= 0) return;
    request.append(bytes, static_cast<std::size_t>(got));
  }
  const std::string reply =
      "HTTP/1.1 200 OK\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
      "CIMExport: MethodResponse\r\nConnection: close\r\nContent-Length: " +
      std::to_string(sizeof kAccepted - 1) + "\r\n\r\n" + kAccepted;
  ::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
  const std::lock_guard<std::mutex> lock(mutex_);
  taken_.push_back(request);
  arrived_.notify_all();
}

}  // namespace orv::test
