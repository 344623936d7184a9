#pragma once

#include <linux/if_link.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Decoding of the kernel's rtnetlink messages: bytes in, records out. Nothing here asks the
/// kernel. A message that is cut short, or an attribute that is shorter than its type, is skipped
/// and never read beyond its end.
namespace LinuxHost {

using Bytes = std::vector<unsigned char>;

/// One network link, as one RTM_NEWLINK message tells it.
struct LinkRecord {
  int index = 0;
  unsigned hardwareType = 0;  ///< ARPHRD_...
  unsigned flags = 0;         ///< IFF_...
  std::string name;
  std::uint32_t mtu = 0;                                         ///< bytes
  std::optional<std::array<unsigned char, 6>> address;           ///< in use
  std::optional<std::array<unsigned char, 6>> permanentAddress;  ///< the adapter's own
  rtnl_link_stats64 statistics{};
};

/// One address of one link, as one RTM_NEWADDR message tells it.
struct AddressRecord {
  int linkIndex = 0;
  int family = 0;  ///< AF_INET or AF_INET6
  unsigned prefixLength = 0;
  std::array<unsigned char, 16> address{};  ///< network order; IPv4 in the first four bytes
};

/// Links and addresses in a sequence of messages, in the order of the messages; messages of other
/// types are passed over.
std::vector<LinkRecord> decodeLinks(const Bytes& messages);
std::vector<AddressRecord> decodeAddresses(const Bytes& messages);

/// What a piece of an answer says about the whole answer.
struct AnswerState {
  bool complete = false;     ///< nothing more comes
  bool interrupted = false;  ///< the kernel's tables changed during the dump
  int error = 0;             ///< errno value with which the kernel refused; 0 for none
};

/// Appends the data messages of one received piece to `messages` and brings `state` up to date.
/// An answer ends with a "done" or error message, or with its first message when it has but one.
void appendAnswer(const unsigned char* piece, std::size_t size, AnswerState& state,
                  Bytes& messages);

}  // namespace LinuxHost
