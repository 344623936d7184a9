#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/linux/netlink_messages.h"

struct nl_sock;

namespace LinuxHost {

/// The kernel could not be asked, or refused to answer.
class RouteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A conversation with the kernel about links and addresses (rtnetlink). Asks and hands back the
/// answer's bytes, which netlink_messages.h decodes. Used by one thread; needs no privilege.
class RouteSocket {
 public:
  /// Throws RouteError when the kernel gives no socket.
  RouteSocket();

  /// Every link, and every address of every link. A dump during which the kernel's tables changed
  /// is taken anew. Throws RouteError.
  Bytes dumpLinks();
  Bytes dumpAddresses();

  /// The link that the kernel finds under `name`, by its own name or an alternative one; nothing
  /// when there is none. `name` fits IFNAMSIZ. Throws RouteError.
  std::optional<Bytes> findLink(const std::string& name);

 private:
  struct Closer {
    void operator()(nl_sock* socket) const;
  };

  Bytes dump(int type);
  AnswerState receive(Bytes& messages);

  std::unique_ptr<nl_sock, Closer> socket_;
};

}  // namespace LinuxHost
