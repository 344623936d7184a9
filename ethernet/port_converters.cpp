#include <cstddef>

#include "ethernet/ethernet_port_provider.h"

namespace EthernetProvider {

namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::PnicPortMode;
using Nodemgr::Network::TransceiverMode;
using Nodemgr::Network::WakeOnMode;

struct PortType {
  PnicPortMode mode;
  std::uint32_t speed;  // megabits per second
  CMPIUint16 value;
};

constexpr CMPIUint16 kUnknownPortType = 0;
constexpr PortType kPortTypes[] = {
    {PnicPortMode::kTwistedPair, 10, 50},     // 10BaseT
    {PnicPortMode::kTwistedPair, 100, 52},    // 100BaseT
    {PnicPortMode::kTwistedPair, 1000, 53},   // 1000BaseT
    {PnicPortMode::kTwistedPair, 2500, 54},   // 2500BaseT
    {PnicPortMode::kTwistedPair, 10000, 55},  // 10GBaseT
    {PnicPortMode::kFibre, 100, 100},         // 100Base-FX
    {PnicPortMode::kFibre, 1000, 102},        // 1000Base-SX
    {PnicPortMode::kFibre, 10000, 105},       // 10GBase-SR
};

constexpr CMPIUint16 kPortModes[] = {1, 2, 3, 4, 5};
constexpr CMPIUint16 kOtherPortMode = 0;

constexpr CMPIUint16 kTransceivers[] = {1, 2, 0};
constexpr CMPIUint16 kOtherTransceiver = 0;

// Deliberate (contract.md#wake-on-modes): mode 7 becomes 0, and a number that is not a mode becomes
// 1.
constexpr CMPIUint16 kWakeOnModes[] = {2, 3, 4, 5, 6, 7, 0};
constexpr CMPIUint16 kOtherWakeOnMode = 1;

template <std::size_t size>
CMPIUint16 lookUp(const CMPIUint16 (&table)[size], std::uint32_t index, CMPIUint16 outOfRange) {
  return index < size ? table[index] : outOfRange;
}

const char* speedText(LinkSpeed speed) {
  switch (static_cast<std::uint32_t>(speed)) {
    case 0:
      return "AUTO";
    case 10:
      return "10";
    case 100:
      return "100";
    case 1000:
      return "1000";
    case 2500:
      return "2500";
    case 10000:
      return "10000";
    default:
      return "";
  }
}

const char* duplexText(Duplex duplex) {
  switch (duplex) {
    case Duplex::kFull:
      return "FULL";
    case Duplex::kHalf:
      return "HALF";
    case Duplex::kAuto:
      return "AUTO";
    default:
      return "";
  }
}

}  // namespace

CMPIUint16 EthernetPortProvider::getPortType(PnicPortMode mode, LinkSpeed speed) {
  for (const PortType& type : kPortTypes) {
    if (type.mode == mode && type.speed == static_cast<std::uint32_t>(speed)) return type.value;
  }
  return kUnknownPortType;
}

CMPIUint16 EthernetPortProvider::convertPortMode(PnicPortMode mode) {
  return lookUp(kPortModes, static_cast<std::uint32_t>(mode), kOtherPortMode);
}

CMPIUint16 EthernetPortProvider::convertTransceiver(TransceiverMode mode) {
  return lookUp(kTransceivers, static_cast<std::uint32_t>(mode), kOtherTransceiver);
}

CMPIUint16 EthernetPortProvider::convertWOLOption(WakeOnMode mode) {
  // 0 wraps around to a number past the end of the table.
  return lookUp(kWakeOnModes, static_cast<std::uint32_t>(mode) - 1, kOtherWakeOnMode);
}

std::string EthernetPortProvider::convertLinkMode(const Nodemgr::Network::LinkMode& mode) {
  return std::string(speedText(mode.first)) + "_" + duplexText(mode.second);
}

}  // namespace EthernetProvider
