#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/linux/netlink_messages.h"

namespace {

/// Reads the bytes as one piece of an answer; its records take no more than its bytes.
template <typename Record>
void read(const std::vector<unsigned char>& piece, std::size_t smallestMessage) {
  LinuxHost::AnswerState state;
  std::vector<Record> records;
  LinuxHost::readPiece(piece.data(), piece.size(), state, records);
  if (records.size() > piece.size() / smallestMessage) std::abort();
  if (state.error < 0 || (state.error != 0 && !state.complete)) std::abort();
}

}  // namespace

// Any bytes are an answer of the kernel about links and about addresses.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLinkMessage = 16 + 16;  // header and fixed part
  constexpr std::size_t kAddressMessage = 16 + 8;
  const std::vector<unsigned char> piece(data, data + size);
  read<LinuxHost::LinkRecord>(piece, kLinkMessage);
  read<LinuxHost::AddressRecord>(piece, kAddressMessage);
  return 0;
}
