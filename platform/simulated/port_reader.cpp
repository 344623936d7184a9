#include "platform/simulated/port_reader.h"

#include <charconv>
#include <cstring>

namespace simulated {
namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkMode;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicLinkSettings;
using Nodemgr::Network::PnicStatistics;

constexpr std::array<Member<SimulatedPci>, 6> kPciMembers = {{
    {"segment", into<&SimulatedPci::segment>},
    {"bus", into<&SimulatedPci::bus>},
    {"slot", into<&SimulatedPci::slot>},
    {"function", into<&SimulatedPci::function>},
    {"vendorId", into<&SimulatedPci::vendorId>},
    {"deviceId", into<&SimulatedPci::deviceId>},
}};

constexpr std::array<Member<PnicLinkSettings>, 11> kLinkSettingsMembers = {{
    {"supportedPorts", into<&PnicLinkSettings::supportedPorts>},
    {"supportedLinkModes", into<&PnicLinkSettings::supportedLinkModes>},
    {"autoNegotiation", into<&PnicLinkSettings::autoNegotiation>},
    {"advertisedLinkModes", into<&PnicLinkSettings::advertisedLinkModes>},
    {"advertisedAutoNegotiation", into<&PnicLinkSettings::advertisedAutoNegotiation>},
    {"linkMode", into<&PnicLinkSettings::linkMode>},
    {"portMode", into<&PnicLinkSettings::portMode>},
    {"phyAddress", into<&PnicLinkSettings::phyAddress>},
    {"transceiver", into<&PnicLinkSettings::transceiver>},
    {"wolSupported", into<&PnicLinkSettings::wolSupported>},
    {"wolOptions", into<&PnicLinkSettings::wolOptions>},
}};

// Named as the properties that carry the counters, mixed capitalisation included.
constexpr std::array<Member<PnicStatistics>, 19> kStatisticsMembers = {{
    {"packetsTx", into<&PnicStatistics::packetsTx>},
    {"packetsRx", into<&PnicStatistics::packetsRx>},
    {"bytesTx", into<&PnicStatistics::bytesTx>},
    {"bytesRx", into<&PnicStatistics::bytesRx>},
    {"errorsTx", into<&PnicStatistics::errorsTx>},
    {"errorsRx", into<&PnicStatistics::errorsRx>},
    {"droppedTx", into<&PnicStatistics::droppedTx>},
    {"droppedRx", into<&PnicStatistics::droppedRx>},
    {"RxLengthErrors", into<&PnicStatistics::rxLengthErrors>},
    {"RxOverErrors", into<&PnicStatistics::rxOverErrors>},
    {"RxCRCErrors", into<&PnicStatistics::rxCrcErrors>},
    {"RxFrameErrors", into<&PnicStatistics::rxFrameErrors>},
    {"RxFIFOErrors", into<&PnicStatistics::rxFifoErrors>},
    {"RxMissedErrors", into<&PnicStatistics::rxMissedErrors>},
    {"TxAbortedErrors", into<&PnicStatistics::txAbortedErrors>},
    {"TxFIFOErrors", into<&PnicStatistics::txFifoErrors>},
    {"TxCarrierErrors", into<&PnicStatistics::txCarrierErrors>},
    {"TxHeartbeatErrors", into<&PnicStatistics::txHeartbeatErrors>},
    {"TxWindowErrors", into<&PnicStatistics::txWindowErrors>},
}};

constexpr std::array<Member<PnicCoalesceParams>, 22> kCoalesceMembers = {{
    {"adaptiveRX", into<&PnicCoalesceParams::adaptiveRx>},
    {"adaptiveTX", into<&PnicCoalesceParams::adaptiveTx>},
    {"statsBlockUsecs", into<&PnicCoalesceParams::statsBlockUsecs>},
    {"sampleInterval", into<&PnicCoalesceParams::sampleInterval>},
    {"pktRateLow", into<&PnicCoalesceParams::pktRateLow>},
    {"pktRateHigh", into<&PnicCoalesceParams::pktRateHigh>},
    {"rxUsecs", into<&PnicCoalesceParams::rxUsecs>},
    {"rxFrames", into<&PnicCoalesceParams::rxFrames>},
    {"rxUsecsIrq", into<&PnicCoalesceParams::rxUsecsIrq>},
    {"rxFramesIrq", into<&PnicCoalesceParams::rxFramesIrq>},
    {"txUsecs", into<&PnicCoalesceParams::txUsecs>},
    {"txFrames", into<&PnicCoalesceParams::txFrames>},
    {"txUsecsIrq", into<&PnicCoalesceParams::txUsecsIrq>},
    {"txFramesIrq", into<&PnicCoalesceParams::txFramesIrq>},
    {"rxUsecsLow", into<&PnicCoalesceParams::rxUsecsLow>},
    {"rxFrameLow", into<&PnicCoalesceParams::rxFrameLow>},
    {"txUsecsLow", into<&PnicCoalesceParams::txUsecsLow>},
    {"txFrameLow", into<&PnicCoalesceParams::txFrameLow>},
    {"rxUsecsHigh", into<&PnicCoalesceParams::rxUsecsHigh>},
    {"rxFrameHigh", into<&PnicCoalesceParams::rxFrameHigh>},
    {"txUsecsHigh", into<&PnicCoalesceParams::txUsecsHigh>},
    {"txFrameHigh", into<&PnicCoalesceParams::txFrameHigh>},
}};

constexpr std::array<Member<PnicDriverInfo>, 4> kDriverInfoMembers = {{
    {"driver", into<&PnicDriverInfo::driver>},
    {"driverVersion", into<&PnicDriverInfo::driverVersion>},
    {"firmwareVersion", into<&PnicDriverInfo::firmwareVersion>},
    {"busInfo", into<&PnicDriverInfo::busInfo>},
}};

/// The duplex of the port itself has three values; only those in link modes are free.
void readPortDuplex(const Value& value, SimulatedPort& port) {
  constexpr auto kLast = static_cast<std::uint64_t>(Duplex::kHalf);
  port.duplex = static_cast<Duplex>(value.unsignedUpTo(kLast));
}

}  // namespace

void readValue(const Value& value, SimulatedPci& pci) { readMembers(value, kPciMembers, pci); }

void readValue(const Value& value, PnicLinkSettings& settings) {
  readMembers(value, kLinkSettingsMembers, settings);
}

void readValue(const Value& value, PnicStatistics& statistics) {
  readMembers(value, kStatisticsMembers, statistics);
}

void readValue(const Value& value, PnicCoalesceParams& params) {
  readMembers(value, kCoalesceMembers, params);
}

void readValue(const Value& value, PnicDriverInfo& info) {
  readMembers(value, kDriverInfoMembers, info);
}

/// [speed, duplex]
void readValue(const Value& value, LinkMode& mode) {
  if (value.array().size() != 2) value.refuse("expected a pair [speed, duplex]");
  readValue(Value(value, std::size_t{0}, value.json()[0]), mode.first);
  readValue(Value(value, std::size_t{1}, value.json()[1]), mode.second);
}

/// "02:1a:2b:ab:cd:ef", digits in either case
void readValue(const Value& value, MacAddress& mac) {
  constexpr std::size_t kWidth = 3;  // two digits and a colon, which the last pair lacks
  const std::string& text = value.text();
  MacAddress::Bytes bytes{};
  bool good = text.size() == bytes.size() * kWidth - 1;
  for (std::size_t i = 0; good && i < bytes.size(); ++i) {
    const char* pair = text.data() + i * kWidth;
    good = std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2 &&
           (i + 1 == bytes.size() || pair[2] == ':');
  }
  if (!good) value.refuse("expected an address in the form \"02:1a:2b:ab:cd:ef\"");
  mac = MacAddress(bytes);
}

/// {"GetMtu": "nodemgr", ...}
void readValue(const Value& value, AccessorFaults& faults) {
  for (const auto& item : value.object().items()) {
    const Value member(value, item.key(), item.value());
    std::size_t accessor = 0;
    while (accessor < kAccessorNames.size() && item.key() != kAccessorNames[accessor]) ++accessor;
    if (accessor == kAccessorNames.size()) member.refuse("unknown member");
    faults[accessor] = readFaultName(member);
  }
}

void readValue(const Value& value, SimulatedPort& port) {
  static constexpr std::array<Member<SimulatedPort>, 15> kMembers = {{
      {"name", into<&SimulatedPort::name>},
      {"duplex", readPortDuplex},
      {"linkUp", into<&SimulatedPort::linkUp>},
      {"enabled", into<&SimulatedPort::enabled>},
      {"linkSpeed", into<&SimulatedPort::linkSpeed>},
      {"mac", into<&SimulatedPort::mac>},
      {"capabilitySupported", into<&SimulatedPort::capabilitySupported>},
      {"capabilityEnabled", into<&SimulatedPort::capabilityEnabled>},
      {"mtu", into<&SimulatedPort::mtu>},
      {"pci", into<&SimulatedPort::pci>},
      {"linkSettings", into<&SimulatedPort::linkSettings>},
      {"statistics", into<&SimulatedPort::statistics>},
      {"coalesce", into<&SimulatedPort::coalesce>},
      {"driverInfo", into<&SimulatedPort::driverInfo>},
      {"faults", into<&SimulatedPort::faults>},
  }};
  readMembers(value, kMembers, port);
}

}  // namespace simulated
