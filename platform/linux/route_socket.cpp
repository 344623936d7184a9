#include "platform/linux/route_socket.h"

#include <linux/rtnetlink.h>
#include <netlink/errno.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/route/rtnl.h>
#include <netlink/socket.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <system_error>

namespace LinuxHost {
namespace {

// A host whose links change faster than that cannot be told consistently; the last dump is taken.
constexpr int kDumpAttempts = 8;

struct MessageFree {
  void operator()(nl_msg* message) const { nlmsg_free(message); }
};
using MessagePtr = std::unique_ptr<nl_msg, MessageFree>;

struct BufferFree {
  void operator()(unsigned char* buffer) const { std::free(buffer); }
};
using BufferPtr = std::unique_ptr<unsigned char, BufferFree>;

/// Throws on one of libnl's negative error codes; other results are passed through.
int checked(int result, const char* what) {
  if (result < 0) throw RouteError(std::string(what) + ": " + nl_geterror(result));
  return result;
}

[[noreturn]] void refuse(const char* what, int error) {
  throw RouteError(std::string(what) + ": " + std::generic_category().message(error));
}

MessagePtr linkRequest(const std::string& name) {
  MessagePtr request(nlmsg_alloc_simple(RTM_GETLINK, NLM_F_REQUEST));
  if (!request) throw std::bad_alloc();
  ifinfomsg header{};
  checked(nlmsg_append(request.get(), &header, sizeof header, NLMSG_ALIGNTO), "link request");
  checked(nla_put_string(request.get(), IFLA_IFNAME, name.c_str()), "link request");
  return request;
}

}  // namespace

void RouteSocket::Closer::operator()(nl_sock* socket) const { nl_socket_free(socket); }

RouteSocket::RouteSocket() : socket_(nl_socket_alloc()) {
  if (!socket_) throw std::bad_alloc();
  checked(nl_connect(socket_.get(), NETLINK_ROUTE), "rtnetlink socket");
  nl_socket_enable_msg_peek(socket_.get());   // no message is cut, however long
  nl_socket_disable_auto_ack(socket_.get());  // an answer's end is its own, not an acknowledgement
}

Bytes RouteSocket::dumpLinks() { return dump(RTM_GETLINK); }

Bytes RouteSocket::dumpAddresses() { return dump(RTM_GETADDR); }

Bytes RouteSocket::dump(int type) {
  Bytes messages;
  for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
    messages.clear();
    checked(nl_rtgen_request(socket_.get(), type, AF_UNSPEC, NLM_F_DUMP), "rtnetlink dump");
    const AnswerState state = receive(messages);
    if (state.error != 0) refuse("rtnetlink dump", state.error);
    if (!state.interrupted) break;
  }
  return messages;
}

std::optional<Bytes> RouteSocket::findLink(const std::string& name) {
  const MessagePtr request = linkRequest(name);
  checked(nl_send_auto(socket_.get(), request.get()), "rtnetlink link");
  Bytes messages;
  const AnswerState state = receive(messages);
  if (state.error == ENODEV) return {};
  if (state.error != 0) refuse("rtnetlink link", state.error);
  return messages;
}

/// Requests follow one another on this socket and each answer is read to its end, so what arrives
/// always belongs to the latest request.
AnswerState RouteSocket::receive(Bytes& messages) {
  AnswerState state;
  while (!state.complete) {
    sockaddr_nl sender{};
    unsigned char* buffer = nullptr;
    const int size = checked(nl_recv(socket_.get(), &sender, &buffer, nullptr), "rtnetlink answer");
    const BufferPtr owner(buffer);
    if (size == 0) throw RouteError("rtnetlink answer: closed");
    if (sender.nl_pid != 0) continue;  // not from the kernel
    appendAnswer(buffer, static_cast<std::size_t>(size), state, messages);
  }
  return state;
}

}  // namespace LinuxHost
