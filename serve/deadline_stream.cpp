#include "serve/deadline_stream.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace orv::serve {
namespace {

constexpr std::size_t kBufferBytes = 16 * 1024;

void addressText(const sockaddr_storage& address, std::string& ip, int& port) {
  char text[INET6_ADDRSTRLEN] = "";
  if (address.ss_family == AF_INET) {
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    port = ntohs(v4.sin_port);
  } else if (address.ss_family == AF_INET6) {
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
    inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
    port = ntohs(v6.sin6_port);
  }
  ip = text;
}

}  // namespace

bool DeadlineStream::poll(short events, Clock::time_point deadline) const {
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    pollfd wanted{socket_, events, 0};
    const int ready = ::poll(&wanted, 1, static_cast<int>(std::min<long long>(left, 60'000)));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
  }
}

bool DeadlineStream::waitForRequest() {
  if (bufferAt_ < buffer_.size()) return true;
  if (!poll(POLLIN, Clock::now() + limits_.idleTime)) return false;
  char byte = 0;
  return ::recv(socket_, &byte, 1, MSG_PEEK) == 1;
}

void DeadlineStream::beginRequest() {
  requestDeadline_ = Clock::now() + limits_.requestTime;
  headerBytes_ = 0;
  newlines_ = 0;
  inHeaders_ = true;
}

std::string DeadlineStream::peek(std::size_t count) const {
  if (bufferAt_ < buffer_.size()) return buffer_.substr(bufferAt_, count);
  std::string bytes(count, '\0');
  const ssize_t got = ::recv(socket_, bytes.data(), count, MSG_PEEK | MSG_DONTWAIT);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

bool DeadlineStream::is_readable() const { return poll(POLLIN, requestDeadline_); }

bool DeadlineStream::is_writable() const { return poll(POLLOUT, Clock::now() + limits_.writeTime); }

void DeadlineStream::countHeaderByte(char byte) {
  ++headerBytes_;
  if (byte == '\n') {
    inHeaders_ = ++newlines_ < 2;
  } else if (byte != '\r') {
    newlines_ = 0;
  }
  headersTooLarge_ = inHeaders_ && headerBytes_ > limits_.headerBytes;
}

ssize_t DeadlineStream::read(char* data, std::size_t size) {
  if (headersTooLarge_ || timedOut_) return -1;
  if (bufferAt_ == buffer_.size()) {
    timedOut_ = !poll(POLLIN, requestDeadline_);
    if (timedOut_) return -1;
    buffer_.resize(kBufferBytes);
    bufferAt_ = 0;
    const ssize_t got = ::recv(socket_, buffer_.data(), buffer_.size(), 0);
    buffer_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    if (got <= 0) return got;
  }
  const std::size_t taken = std::min(size, buffer_.size() - bufferAt_);
  std::memcpy(data, buffer_.data() + bufferAt_, taken);
  bufferAt_ += taken;
  for (std::size_t i = 0; i < taken && inHeaders_; ++i) countHeaderByte(data[i]);
  return headersTooLarge_ ? -1 : static_cast<ssize_t>(taken);
}

ssize_t DeadlineStream::write(const char* data, std::size_t size) {
  // The library's own answer to a request that was cut off; the server sends a better one.
  if (headersTooLarge_ || timedOut_) return static_cast<ssize_t>(size);
  if (!is_writable()) return -1;
  return ::send(socket_, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
}

void DeadlineStream::get_remote_ip_and_port(std::string& ip, int& port) const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  getpeername(socket_, reinterpret_cast<sockaddr*>(&address), &length);
  addressText(address, ip, port);
}

void DeadlineStream::get_local_ip_and_port(std::string& ip, int& port) const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
  addressText(address, ip, port);
}

}  // namespace orv::serve
