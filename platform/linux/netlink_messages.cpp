#include "platform/linux/netlink_messages.h"

#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace LinuxHost {
namespace {

/// The attributes that follow a message's fixed header.
class Attributes {
 public:
  Attributes(const nlmsghdr* message, std::size_t headerSize)
      : first_(nlmsg_attrdata(message, static_cast<int>(headerSize))),
        size_(nlmsg_attrlen(message, static_cast<int>(headerSize))) {}

  const nlattr* find(int type) const { return nla_find(first_, size_, type); }

  /// Copies a value of fixed size, because attributes are aligned to four bytes only. A longer
  /// attribute is a newer kernel's; its beginning is the value that we know.
  template <typename Value>
  std::optional<Value> value(int type) const {
    const nlattr* attribute = find(type);
    if (attribute == nullptr || nla_len(attribute) < static_cast<int>(sizeof(Value))) return {};
    Value value;
    std::memcpy(&value, nla_data(attribute), sizeof value);
    return value;
  }

  std::string text(int type) const {
    const nlattr* attribute = find(type);
    if (attribute == nullptr) return {};
    const std::string_view bytes(static_cast<const char*>(nla_data(attribute)),
                                 static_cast<std::size_t>(nla_len(attribute)));
    return std::string(bytes.substr(0, bytes.find('\0')));
  }

 private:
  const nlattr* first_;
  int size_;
};

template <typename Header>
const Header* headerOf(const nlmsghdr* message) {
  if (!nlmsg_valid_hdr(message, sizeof(Header))) return nullptr;
  return static_cast<const Header*>(nlmsg_data(message));
}

/// Statistics of kernels older than ours end earlier; what they lack stays zero.
rtnl_link_stats64 statisticsOf(const Attributes& attributes) {
  rtnl_link_stats64 statistics{};
  if (const nlattr* attribute = attributes.find(IFLA_STATS64)) {
    const auto size = std::min(sizeof statistics, static_cast<std::size_t>(nla_len(attribute)));
    std::memcpy(&statistics, nla_data(attribute), size);
  }
  return statistics;
}

std::optional<LinkRecord> decodeLink(const nlmsghdr* message) {
  const auto* header = headerOf<ifinfomsg>(message);
  if (header == nullptr) return {};
  const Attributes attributes(message, sizeof *header);
  LinkRecord link;
  link.index = header->ifi_index;
  link.hardwareType = header->ifi_type;
  link.flags = header->ifi_flags;
  link.name = attributes.text(IFLA_IFNAME);
  link.mtu = attributes.value<std::uint32_t>(IFLA_MTU).value_or(0);
  link.address = attributes.value<std::array<unsigned char, 6>>(IFLA_ADDRESS);
  link.permanentAddress = attributes.value<std::array<unsigned char, 6>>(IFLA_PERM_ADDRESS);
  link.statistics = statisticsOf(attributes);
  return link;
}

/// The address of the host's own end: on a point-to-point link IFA_ADDRESS is the other end's.
const nlattr* localAddress(const Attributes& attributes) {
  const nlattr* local = attributes.find(IFA_LOCAL);
  return local != nullptr ? local : attributes.find(IFA_ADDRESS);
}

std::optional<AddressRecord> decodeAddress(const nlmsghdr* message) {
  const auto* header = headerOf<ifaddrmsg>(message);
  if (header == nullptr) return {};
  if (header->ifa_family != AF_INET && header->ifa_family != AF_INET6) return {};
  AddressRecord record;
  record.linkIndex = static_cast<int>(header->ifa_index);
  record.family = header->ifa_family;
  record.prefixLength = header->ifa_prefixlen;
  const nlattr* address = localAddress(Attributes(message, sizeof *header));
  const int size = record.family == AF_INET ? 4 : 16;
  if (address == nullptr || nla_len(address) != size) return {};
  std::memcpy(record.address.data(), nla_data(address), static_cast<std::size_t>(size));
  return record;
}

template <typename Record, typename Decode>
std::vector<Record> decodeAll(const Bytes& messages, int type, Decode decode) {
  std::vector<Record> records;
  const auto* message = reinterpret_cast<const nlmsghdr*>(messages.data());
  int left = static_cast<int>(messages.size());
  for (; nlmsg_ok(message, left); message = nlmsg_next(const_cast<nlmsghdr*>(message), &left)) {
    if (message->nlmsg_type != type) continue;
    if (auto record = decode(message)) records.push_back(std::move(*record));
  }
  return records;
}

/// The kernel's verdict at the start of a "done" or error message: zero or a negated errno value.
int verdictOf(const nlmsghdr* message) {
  std::int32_t verdict = 0;
  if (nlmsg_datalen(message) < static_cast<int>(sizeof verdict)) return 0;
  std::memcpy(&verdict, nlmsg_data(message), sizeof verdict);
  return verdict < 0 ? -verdict : 0;
}

void appendMessage(const nlmsghdr* message, Bytes& messages) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(message);
  messages.insert(messages.end(), bytes, bytes + message->nlmsg_len);
  messages.resize(NLMSG_ALIGN(messages.size()));
}

}  // namespace

std::vector<LinkRecord> decodeLinks(const Bytes& messages) {
  return decodeAll<LinkRecord>(messages, RTM_NEWLINK, decodeLink);
}

std::vector<AddressRecord> decodeAddresses(const Bytes& messages) {
  return decodeAll<AddressRecord>(messages, RTM_NEWADDR, decodeAddress);
}

void appendAnswer(const unsigned char* piece, std::size_t size, AnswerState& state,
                  Bytes& messages) {
  const auto* message = reinterpret_cast<const nlmsghdr*>(piece);
  int left = static_cast<int>(size);
  for (; !state.complete && nlmsg_ok(message, left);
       message = nlmsg_next(const_cast<nlmsghdr*>(message), &left)) {
    if ((message->nlmsg_flags & NLM_F_DUMP_INTR) != 0) state.interrupted = true;
    if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
      state.error = verdictOf(message);
      state.complete = true;
    } else {
      appendMessage(message, messages);
      state.complete = (message->nlmsg_flags & NLM_F_MULTI) == 0;
    }
  }
}

}  // namespace LinuxHost
