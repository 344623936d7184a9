#include "platform/linux/route_socket.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace LinuxHost {
namespace {

// A host whose links change in each of so many dumps has no consistent list; the last one is used.
constexpr int kAttempts = 8;

// The kernel makes the pieces of a dump this large when there is room for them. Only a single
// message, of a link with hundreds of alternative names, can be longer.
constexpr std::size_t kUsualPiece = 32 * 1024;

FileDescriptor openRouteSocket() {
  return FileDescriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
}

[[noreturn]] void refuse(const char* what, int error) {
  throw RouteError(std::string(what) + ": " + std::generic_category().message(error));
}

/// A message to the kernel: a header with type and flags, and a fixed part of zeros.
template <typename FixedPart>
class Request {
 public:
  Request(std::uint16_t type, unsigned flags) : header_(mnl_nlmsg_put_header(bytes_.data())) {
    header_->nlmsg_type = type;
    header_->nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
    mnl_nlmsg_put_extra_header(header_, sizeof(FixedPart));
  }

  nlmsghdr* header() { return header_; }
  std::size_t size() const { return header_->nlmsg_len; }
  std::size_t room() const { return bytes_.size(); }

 private:
  alignas(nlmsghdr) std::array<unsigned char, 128> bytes_{};
  nlmsghdr* header_;
};

}  // namespace

RouteSocket::RouteSocket()
    : socket_(openRouteSocket()),
      bufferSize_(kUsualPiece),
      buffer_(new unsigned char[bufferSize_]) {
  if (!socket_.isOpen()) refuse("rtnetlink socket", errno);
}

std::vector<LinkRecord> RouteSocket::dumpLinks() {
  Request<ifinfomsg> request(RTM_GETLINK, NLM_F_DUMP);
  std::vector<LinkRecord> links;
  const int error = ask(request.header(), request.size(), links);
  if (error != 0) refuse("rtnetlink dump", error);
  return links;
}

std::vector<AddressRecord> RouteSocket::dumpAddresses() {
  Request<ifaddrmsg> request(RTM_GETADDR, NLM_F_DUMP);
  std::vector<AddressRecord> addresses;
  const int error = ask(request.header(), request.size(), addresses);
  if (error != 0) refuse("rtnetlink dump", error);
  return addresses;
}

std::optional<LinkRecord> RouteSocket::findLink(const std::string& name) {
  Request<ifinfomsg> request(RTM_GETLINK, 0);
  if (!mnl_attr_put_strz_check(request.header(), request.room(), IFLA_IFNAME, name.c_str())) {
    return {};
  }
  std::vector<LinkRecord> links;
  const int error = ask(request.header(), request.size(), links);
  if (error == ENODEV || (error == 0 && links.empty())) return {};
  if (error != 0) refuse("rtnetlink link", error);
  return std::move(links.front());
}

/// Returns 0, or the errno value with which the kernel refused. Each answer is read to its end
/// before the next request on this socket, so what arrives always belongs to the latest request.
template <typename Record>
int RouteSocket::ask(const void* request, std::size_t size, std::vector<Record>& records) {
  AnswerState state;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    records.clear();
    if (send(socket_.number(), request, size, 0) < 0) refuse("rtnetlink request", errno);
    state = readAnswer(records);
    if (!state.interrupted || state.error != 0) break;
  }
  return state.error;
}

template <typename Record>
AnswerState RouteSocket::readAnswer(std::vector<Record>& records) {
  AnswerState state;
  while (!state.complete) {
    const std::size_t size = receive();
    if (size > bufferSize_) return startAnew(size);
    readPiece(buffer_.get(), size, state, records);
  }
  return state;
}

/// Makes room for a piece that was cut off. The rest of this answer is dropped with the old socket.
AnswerState RouteSocket::startAnew(std::size_t pieceSize) {
  buffer_.reset(new unsigned char[pieceSize]);
  bufferSize_ = pieceSize;
  socket_ = openRouteSocket();
  if (!socket_.isOpen()) refuse("rtnetlink socket", errno);
  AnswerState state;
  state.interrupted = true;
  return state;
}

/// Receives the next piece and returns its size; the buffer holds as much of it as there is room
/// for.
std::size_t RouteSocket::receive() {
  for (;;) {
    sockaddr_nl sender{};
    socklen_t senderSize = sizeof sender;
    const ssize_t size = recvfrom(socket_.number(), buffer_.get(), bufferSize_, MSG_TRUNC,
                                  reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) refuse("rtnetlink answer", errno);
    if (size == 0) throw RouteError("rtnetlink answer: closed");
    if (sender.nl_pid != 0) continue;  // not from the kernel
    return static_cast<std::size_t>(size);
  }
}

}  // namespace LinuxHost
