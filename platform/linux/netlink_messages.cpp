#include "platform/linux/netlink_messages.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

namespace LinuxHost {
namespace {

/// The attributes after the fixed header of a message, by number.
class Attributes {
 public:
  Attributes(const nlmsghdr* message, std::size_t headerSize) {
    const std::size_t offset = MNL_ALIGN(headerSize);
    const std::size_t size = mnl_nlmsg_get_payload_len(message);
    if (size <= offset) return;
    const auto* attribute =
        static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(message, headerSize));
    const char* const end = reinterpret_cast<const char*>(attribute) + (size - offset);
    while (
        mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)))) {
      store(attribute);
      attribute = mnl_attr_next(attribute);
    }
  }

  const nlattr* find(std::uint16_t type) const { return byNumber_[type]; }

  /// Copies a value of fixed size, since attributes are aligned to four bytes only. A longer
  /// attribute is that of a newer kernel and begins with the value that we know.
  template <typename Value>
  std::optional<Value> value(std::uint16_t type) const {
    const nlattr* attribute = find(type);
    if (attribute == nullptr || mnl_attr_get_payload_len(attribute) < sizeof(Value)) return {};
    Value value;
    std::memcpy(&value, mnl_attr_get_payload(attribute), sizeof value);
    return value;
  }

  std::string text(std::uint16_t type) const {
    const nlattr* attribute = find(type);
    if (attribute == nullptr) return {};
    const std::string_view bytes(static_cast<const char*>(mnl_attr_get_payload(attribute)),
                                 mnl_attr_get_payload_len(attribute));
    return std::string(bytes.substr(0, bytes.find('\0')));
  }

 private:
  static constexpr std::size_t kKnown = std::max<std::size_t>(IFLA_MAX, IFA_MAX) + 1;

  /// Keeps the first of repeated attributes.
  void store(const nlattr* attribute) {
    const std::size_t type = attribute->nla_type & NLA_TYPE_MASK;
    if (type < byNumber_.size() && byNumber_[type] == nullptr) byNumber_[type] = attribute;
  }

  std::array<const nlattr*, kKnown> byNumber_{};
};

template <typename Header>
const Header* headerOf(const nlmsghdr* message) {
  if (mnl_nlmsg_get_payload_len(message) < sizeof(Header)) return nullptr;
  return static_cast<const Header*>(mnl_nlmsg_get_payload(message));
}

/// Statistics of kernels older than our headers are shorter; what they lack stays zero.
void copyStatistics(const Attributes& attributes, rtnl_link_stats64& statistics) {
  if (const nlattr* attribute = attributes.find(IFLA_STATS64)) {
    const auto size = std::min<std::size_t>(sizeof statistics, mnl_attr_get_payload_len(attribute));
    std::memcpy(&statistics, mnl_attr_get_payload(attribute), size);
  }
}

std::optional<ParentDevice> parentOf(const Attributes& attributes) {
  if (attributes.find(IFLA_PARENT_DEV_NAME) == nullptr) return {};
  return ParentDevice{attributes.text(IFLA_PARENT_DEV_NAME),
                      attributes.text(IFLA_PARENT_DEV_BUS_NAME)};
}

void decode(const nlmsghdr* message, std::vector<LinkRecord>& links) {
  const auto* header = headerOf<ifinfomsg>(message);
  if (header == nullptr) return;
  const Attributes attributes(message, sizeof *header);
  LinkRecord& link = links.emplace_back();
  link.index = header->ifi_index;
  link.hardwareType = header->ifi_type;
  link.flags = header->ifi_flags;
  link.name = attributes.text(IFLA_IFNAME);
  link.mtu = attributes.value<std::uint32_t>(IFLA_MTU).value_or(0);
  link.address = attributes.value<std::array<unsigned char, 6>>(IFLA_ADDRESS);
  link.permanentAddress = attributes.value<std::array<unsigned char, 6>>(IFLA_PERM_ADDRESS);
  link.parent = parentOf(attributes);
  link.parentsAreNamed = link.parent || attributes.find(IFLA_GRO_MAX_SIZE) != nullptr;
  copyStatistics(attributes, link.statistics);
}

/// The address of this host: on a point-to-point link IFA_ADDRESS is that of the other end.
const nlattr* localAddress(const Attributes& attributes) {
  const nlattr* local = attributes.find(IFA_LOCAL);
  return local != nullptr ? local : attributes.find(IFA_ADDRESS);
}

void decode(const nlmsghdr* message, std::vector<AddressRecord>& addresses) {
  const auto* header = headerOf<ifaddrmsg>(message);
  if (header == nullptr) return;
  if (header->ifa_family != AF_INET && header->ifa_family != AF_INET6) return;
  const nlattr* address = localAddress(Attributes(message, sizeof *header));
  const std::size_t size = header->ifa_family == AF_INET ? 4 : 16;
  if (address == nullptr || mnl_attr_get_payload_len(address) != size) return;
  AddressRecord& record = addresses.emplace_back();
  record.linkIndex = static_cast<int>(header->ifa_index);
  record.family = header->ifa_family;
  record.prefixLength = header->ifa_prefixlen;
  std::memcpy(record.address.data(), mnl_attr_get_payload(address), size);
}

/// The type of the messages that a record is read from.
template <typename Record>
constexpr std::uint16_t kMessageType = 0;
template <>
constexpr std::uint16_t kMessageType<LinkRecord> = RTM_NEWLINK;
template <>
constexpr std::uint16_t kMessageType<AddressRecord> = RTM_NEWADDR;

/// The status at the start of a "done" or error message: 0, or the errno value that it holds
/// negated.
int verdictOf(const nlmsghdr* message) {
  const auto* verdict = headerOf<std::int32_t>(message);
  if (verdict == nullptr || *verdict >= 0) return 0;
  return -std::max(*verdict, -std::numeric_limits<std::int32_t>::max());
}

template <typename Record>
void readMessages(const unsigned char* piece, std::size_t size, AnswerState& state,
                  std::vector<Record>& records) {
  const auto* message = reinterpret_cast<const nlmsghdr*>(piece);
  int left = static_cast<int>(size);
  // The library compares signed lengths; the second check refuses a length that would be negative.
  const auto isWhole = [&] {
    return mnl_nlmsg_ok(message, left) && message->nlmsg_len <= static_cast<unsigned>(left);
  };
  for (; !state.complete && isWhole(); message = mnl_nlmsg_next(message, &left)) {
    if ((message->nlmsg_flags & NLM_F_DUMP_INTR) != 0) state.interrupted = true;
    if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
      state.error = verdictOf(message);
      state.complete = true;
    } else {
      if (message->nlmsg_type == kMessageType<Record>) decode(message, records);
      state.complete = (message->nlmsg_flags & NLM_F_MULTI) == 0;
    }
  }
}

}  // namespace

void readPiece(const unsigned char* piece, std::size_t size, AnswerState& state,
               std::vector<LinkRecord>& links) {
  readMessages(piece, size, state, links);
}

void readPiece(const unsigned char* piece, std::size_t size, AnswerState& state,
               std::vector<AddressRecord>& addresses) {
  readMessages(piece, size, state, addresses);
}

}  // namespace LinuxHost
