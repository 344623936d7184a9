#pragma once

#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/linux/netlink_messages.h"

namespace LinuxHost {

using Bytes = std::vector<unsigned char>;

/// Builds the bytes of one netlink message as the kernel lays them out.
class MessageBuilder {
 public:
  explicit MessageBuilder(std::uint16_t type, std::uint16_t flags = NLM_F_MULTI) {
    nlmsghdr header{};
    header.nlmsg_type = type;
    header.nlmsg_flags = flags;
    append(&header, sizeof header);
  }

  template <typename Header>
  MessageBuilder& header(const Header& header) {
    append(&header, sizeof header);
    return *this;
  }
  MessageBuilder& attribute(unsigned short type, const void* data, std::size_t size) {
    rtattr header{};
    header.rta_len = static_cast<unsigned short>(sizeof header + size);
    header.rta_type = type;
    append(&header, sizeof header);
    append(data, size);
    return *this;
  }
  MessageBuilder& text(unsigned short type, const std::string& text) {
    return attribute(type, text.c_str(), text.size() + 1);
  }
  MessageBuilder& bytes(unsigned short type, const Bytes& bytes) {
    return attribute(type, bytes.data(), bytes.size());
  }
  template <typename Value>
  MessageBuilder& value(unsigned short type, const Value& value) {
    return attribute(type, &value, sizeof value);
  }

  /// The message with its length filled in.
  Bytes build() const {
    Bytes message = bytes_;
    const auto length = static_cast<std::uint32_t>(message.size());
    std::memcpy(message.data(), &length, sizeof length);
    return message;
  }

 private:
  void append(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    bytes_.insert(bytes_.end(), bytes, bytes + size);
    bytes_.resize((bytes_.size() + 3) / 4 * 4);
  }

  Bytes bytes_;
};

/// The records in one piece of a dump.
template <typename Record>
std::vector<Record> recordsIn(const Bytes& piece) {
  AnswerState state;
  std::vector<Record> records;
  readPiece(piece.data(), piece.size(), state, records);
  return records;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

}  // namespace LinuxHost
