#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/linux/file_descriptor.h"
#include "platform/linux/netlink_messages.h"

namespace LinuxHost {

/// The kernel could not be asked, or refused to answer.
class RouteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Asks the kernel about links and addresses (rtnetlink). Used by one thread; needs no privilege.
/// Every operation throws RouteError when the kernel does not answer.
class RouteSocket {
 public:
  RouteSocket();

  /// Every link, and every address of every link, in the kernel's order. A dump is repeated if the
  /// kernel's tables changed during it; the eighth is used in any case.
  std::vector<LinkRecord> dumpLinks();
  std::vector<AddressRecord> dumpAddresses();

  /// The link that the kernel finds under `name`, which may be its own name or an alternative one;
  /// absent when there is none. `name` fits IFNAMSIZ.
  std::optional<LinkRecord> findLink(const std::string& name);

 private:
  template <typename Record>
  int ask(const void* request, std::size_t size, std::vector<Record>& records);
  template <typename Record>
  AnswerState readAnswer(std::vector<Record>& records);
  AnswerState startAnew(std::size_t pieceSize);
  std::size_t receive();

  FileDescriptor socket_;
  std::size_t bufferSize_;
  std::unique_ptr<unsigned char[]> buffer_;  // not zeroed: the kernel fills what is read
};

}  // namespace LinuxHost
