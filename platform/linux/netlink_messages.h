#pragma once

#include <linux/if_link.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Decodes the kernel's rtnetlink messages: bytes in, records out. Nothing here asks the kernel. A
/// message that is cut short, and an attribute that is shorter than its type, are skipped and never
/// read past their end.
namespace LinuxHost {

/// The device that a link belongs to.
struct ParentDevice {
  std::string name;  ///< on its bus, for example "0000:03:00.1"
  std::string bus;   ///< "pci", "virtio", "usb" ...; empty for a device without a bus
};

/// One network link, as one RTM_NEWLINK message describes it.
struct LinkRecord {
  int index = 0;
  unsigned hardwareType = 0;  ///< ARPHRD_...
  unsigned flags = 0;         ///< IFF_...
  std::string name;
  std::uint32_t mtu = 0;                                         ///< bytes
  std::optional<std::array<unsigned char, 6>> address;           ///< current
  std::optional<std::array<unsigned char, 6>> permanentAddress;  ///< the adapter's own
  std::optional<ParentDevice> parent;
  /// Whether the kernel names parents, so that a link without one has none. Linux does since 5.14;
  /// it is recognised by an attribute of 5.17 and later that is in every message.
  bool parentsAreNamed = false;
  rtnl_link_stats64 statistics{};
};

/// One address of one link, as one RTM_NEWADDR message describes it.
struct AddressRecord {
  int linkIndex = 0;
  int family = 0;  ///< AF_INET or AF_INET6
  unsigned prefixLength = 0;
  std::array<unsigned char, 16> address{};  ///< network order; IPv4 in the first four bytes
};

/// What the pieces of an answer read so far say about the whole answer.
struct AnswerState {
  bool complete = false;     ///< no more pieces follow
  bool interrupted = false;  ///< the kernel's tables changed during the dump
  int error = 0;             ///< errno value with which the kernel refused; 0 for none
};

/// Read one piece of an answer, which must be aligned to four bytes: update `state`, and append the
/// records in the order of their messages. Messages of other types are skipped. An answer ends with
/// a "done" or error message, or with its first message when it is not a dump.
void readPiece(const unsigned char* piece, std::size_t size, AnswerState& state,
               std::vector<LinkRecord>& links);
void readPiece(const unsigned char* piece, std::size_t size, AnswerState& state,
               std::vector<AddressRecord>& addresses);

}  // namespace LinuxHost
