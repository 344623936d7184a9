#include "tests/client/scripted_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace orv::test {
namespace {

constexpr char kTlsHandshake = 0x16;

bool isWhole(const std::string& request) {
  if (!request.empty() && request.front() == kTlsHandshake) return true;
  const std::size_t end = request.find("\r\n\r\n");
  if (end == std::string::npos) return false;
  const std::string mark = "Content-Length: ";
  const std::size_t at = request.find(mark);
  const std::size_t length =
      at == std::string::npos ? 0 : std::strtoul(request.c_str() + at + mark.size(), nullptr, 10);
  return request.size() >= end + 4 + length;
}

}  // namespace

ScriptedServer::ScriptedServer(Script script, bool endless)
    : script_(std::move(script)),
      endless_(endless),
      socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
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

ScriptedServer::~ScriptedServer() {
  ends_ = true;
  thread_.join();
  ::close(socket_);
}

std::vector<std::string> ScriptedServer::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

void ScriptedServer::serve() {
  while (!ends_) {
    pollfd wanted{socket_, POLLIN, 0};
    if (::poll(&wanted, 1, 20) <= 0) continue;
    const int connection = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    answer(connection);
    ::close(connection);
  }
}

std::string ScriptedServer::readRequest(int connection) const {
  std::string request;
  char bytes[4096];
  while (!isWhole(request) && !ends_) {
    pollfd wanted{connection, POLLIN, 0};
    if (::poll(&wanted, 1, 20) <= 0) continue;
    const ssize_t got = ::recv(connection, bytes, sizeof bytes, 0);
    if (got <= 0) break;
    request.append(bytes, static_cast<std::size_t>(got));
  }
  return request;
}

void ScriptedServer::answer(int connection) {
  const std::string request = readRequest(connection);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(request);
  }
  const std::string bytes = script_(request);
  do {
    if (::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) <= 0) return;
  } while (endless_ && !ends_);
}

std::string httpAnswer(int status, const std::string& type, const std::string& body) {
  return "HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Type: " + type +
         "\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
         body;
}

std::string cimAnswer(const std::string& value) {
  return httpAnswer(200, "application/xml; charset=\"utf-8\"",
                    "<CIM><MESSAGE ID=\"1\"><SIMPLERSP><IMETHODRESPONSE NAME=\"X\">" + value +
                        "</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>");
}

}  // namespace orv::test
