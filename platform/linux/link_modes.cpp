#include "platform/linux/link_modes.h"

#include <linux/ethtool.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace LinuxHost {
namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkMode;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::PnicPortMode;

struct ModeRow {
  unsigned firstBit;
  unsigned lastBit;
  std::uint32_t megabits;
  Duplex duplex;
};

// The kernel's link modes in bit order; neighbours that differ only in medium or coding share a
// row. Bits between the rows are ports, pause and error-correction flags. The rows from 93 on are
// newer than the kernel headers that we build with, so all rows use numbers.
constexpr ModeRow kModes[] = {
    {0, 0, 10, Duplex::kHalf},         {1, 1, 10, Duplex::kFull},
    {2, 2, 100, Duplex::kHalf},        {3, 3, 100, Duplex::kFull},
    {4, 4, 1000, Duplex::kHalf},       {5, 5, 1000, Duplex::kFull},
    {12, 12, 10000, Duplex::kFull},    {15, 15, 2500, Duplex::kFull},
    {17, 17, 1000, Duplex::kFull},     {18, 20, 10000, Duplex::kFull},
    {21, 22, 20000, Duplex::kFull},    {23, 26, 40000, Duplex::kFull},
    {27, 30, 56000, Duplex::kFull},    {31, 33, 25000, Duplex::kFull},
    {34, 35, 50000, Duplex::kFull},    {36, 39, 100000, Duplex::kFull},
    {40, 40, 50000, Duplex::kFull},    {41, 41, 1000, Duplex::kFull},
    {42, 46, 10000, Duplex::kFull},    {47, 47, 2500, Duplex::kFull},
    {48, 48, 5000, Duplex::kFull},     {52, 56, 50000, Duplex::kFull},
    {57, 61, 100000, Duplex::kFull},   {62, 66, 200000, Duplex::kFull},
    {67, 67, 100, Duplex::kFull},      {68, 68, 1000, Duplex::kFull},
    {69, 73, 400000, Duplex::kFull},   {75, 79, 100000, Duplex::kFull},
    {80, 84, 200000, Duplex::kFull},   {85, 89, 400000, Duplex::kFull},
    {90, 90, 100, Duplex::kHalf},      {91, 91, 100, Duplex::kFull},
    {92, 92, 10, Duplex::kFull},       {93, 98, 800000, Duplex::kFull},
    {99, 99, 10, Duplex::kFull},       {100, 101, 10, Duplex::kHalf},
    {102, 102, 10, Duplex::kFull},     {103, 108, 200000, Duplex::kFull},
    {109, 114, 400000, Duplex::kFull}, {115, 120, 800000, Duplex::kFull},
};

struct PortRow {
  std::uint32_t kernelPort;  // PORT_...
  unsigned bit;              // in the supported bitmap
  PnicPortMode mode;
};

constexpr PnicPortMode kOtherPort{PORT_OTHER};

// In bit order. Media are translated by meaning: the kernel numbers coaxial cable after fibre.
constexpr PortRow kPorts[] = {
    {PORT_TP, ETHTOOL_LINK_MODE_TP_BIT, PnicPortMode::kTwistedPair},
    {PORT_AUI, ETHTOOL_LINK_MODE_AUI_BIT, PnicPortMode::kAttachmentUnit},
    {PORT_MII, ETHTOOL_LINK_MODE_MII_BIT, PnicPortMode::kMediaIndependent},
    {PORT_FIBRE, ETHTOOL_LINK_MODE_FIBRE_BIT, PnicPortMode::kFibre},
    {PORT_BNC, ETHTOOL_LINK_MODE_BNC_BIT, PnicPortMode::kCoaxial},
    {PORT_OTHER, ETHTOOL_LINK_MODE_Backplane_BIT, kOtherPort},
};

bool isSet(const LinkModeBits& bits, unsigned bit) {
  const unsigned word = bit / 32;
  return word < bits.size() && ((bits[word] >> (bit % 32)) & 1U) != 0;
}

/// The row of a link mode; null when the bit is something else.
const ModeRow* rowOf(unsigned bit) {
  const auto next =
      std::upper_bound(std::begin(kModes), std::end(kModes), bit,
                       [](unsigned sought, const ModeRow& row) { return sought < row.firstBit; });
  if (next == std::begin(kModes)) return nullptr;
  const ModeRow* const row = std::prev(next);
  return bit <= row->lastBit ? row : nullptr;
}

}  // namespace

std::vector<LinkMode> linkModesOf(const LinkModeBits& bits) {
  std::set<std::pair<std::uint32_t, bool>> found;  // speed, full: half duplex sorts first
  // From bit to bit that is set: of the more than a hundred that there are, a port has a few.
  for (unsigned word = 0; word < bits.size(); ++word) {
    for (std::uint32_t left = bits[word]; left != 0; left &= left - 1) {
      const ModeRow* row = rowOf(word * 32 + static_cast<unsigned>(__builtin_ctz(left)));
      if (row != nullptr) found.emplace(row->megabits, row->duplex == Duplex::kFull);
    }
  }
  std::vector<LinkMode> modes;
  modes.reserve(found.size());
  for (const auto& [megabits, full] : found) {
    modes.emplace_back(LinkSpeed{megabits}, full ? Duplex::kFull : Duplex::kHalf);
  }
  return modes;
}

std::vector<PnicPortMode> portModesOf(const LinkModeBits& bits) {
  std::vector<PnicPortMode> modes;
  for (const PortRow& row : kPorts) {
    if (isSet(bits, row.bit)) modes.push_back(row.mode);
  }
  return modes;
}

bool hasAutoNegotiation(const LinkModeBits& bits) {
  return isSet(bits, ETHTOOL_LINK_MODE_Autoneg_BIT);
}

PnicPortMode portModeOf(std::uint32_t kernelPort) {
  for (const PortRow& row : kPorts) {
    if (row.kernelPort == kernelPort) return row.mode;
  }
  return PnicPortMode{kernelPort};
}

Duplex duplexOf(std::uint32_t kernelDuplex) {
  switch (kernelDuplex) {
    case DUPLEX_HALF:
      return Duplex::kHalf;
    case DUPLEX_FULL:
      return Duplex::kFull;
    default:
      return Duplex::kAuto;
  }
}

LinkSpeed speedOf(std::uint32_t kernelSpeed) {
  constexpr std::uint32_t kUnknown = 0xffffffff;
  constexpr std::uint32_t kUnknownOfOldDrivers = 0xffff;
  if (kernelSpeed == kUnknown || kernelSpeed == kUnknownOfOldDrivers) return LinkSpeed::kAuto;
  return LinkSpeed{kernelSpeed};
}

}  // namespace LinuxHost
