#include "platform/linux/ethtool_groups.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <system_error>

#include "platform/nodemgr_exception.h"

namespace LinuxHost {
namespace {

using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicLinkSettings;
using Nodemgr::Network::WakeOnMode;

/// Whether an errno value says nothing about what the driver can do: the port is gone, or this
/// process has run out of what it needs in order to ask.
bool isFailure(int error) {
  return error == ENODEV || error == ENXIO || error == EMFILE || error == ENFILE || error == ENOMEM;
}

/// Whether an errno value means that the driver has no such facts, or that the kernel gives them to
/// privileged callers only.
bool isRefusal(int error) {
  constexpr int kNotSupportedInsideTheKernel = 524;  // ENOTSUPP, which some drivers return
  return error == EOPNOTSUPP || error == kNotSupportedInsideTheKernel || error == EPERM ||
         error == EINVAL;
}

[[noreturn]] void fail(const std::string& port, int error) {
  throw Nodemgr::Lib::NodemgrException(port + ": " + std::generic_category().message(error));
}

/// Asks the question. True when the answer is in `question`, false when driver or kernel give none.
bool answered(EthtoolChannel& channel, const std::string& port, void* question) {
  const int error = channel.ask(port, question);
  if (isFailure(error)) fail(port, error);
  return error == 0;
}

/// Asks the question as answered() does, but an error of the driver itself is a failure as well.
bool answeredOrRefused(EthtoolChannel& channel, const std::string& port, void* question) {
  const int error = channel.ask(port, question);
  if (error != 0 && !isRefusal(error)) fail(port, error);
  return error == 0;
}

template <typename Answer>
Answer askGroup(EthtoolChannel& channel, const std::string& port, std::uint32_t command) {
  Answer answer{};
  answer.cmd = command;
  return answered(channel, port, &answer) ? answer : Answer{};
}

/// The text of a field of fixed size, all bytes of which a driver may use.
template <std::size_t size>
std::string fieldText(const char (&field)[size]) {
  return std::string(field, strnlen(field, size));
}

constexpr std::size_t kLinkSettingsSize = sizeof(ethtool_link_settings);

/// The header of an answer to ETHTOOL_GLINKSETTINGS, bitmaps aside.
ethtool_link_settings linkSettingsHeader(const LinkSettingsAnswer& answer) {
  ethtool_link_settings header{};
  std::memcpy(&header, answer.data(), kLinkSettingsSize);
  return header;
}

/// The bitmap at `position` after the header; each has `words` words.
LinkModeBits bitmapAt(const LinkSettingsAnswer& answer, std::size_t position, std::size_t words) {
  LinkModeBits bits(words);
  const std::size_t size = words * sizeof bits[0];
  if (size != 0) {
    std::memcpy(bits.data(), answer.data() + kLinkSettingsSize + position * size, size);
  }
  return bits;
}

}  // namespace

/// To a caller that gives a wrong bitmap length (zero here) the kernel returns the right one,
/// negated; a second question with that length is answered. Three bitmaps follow the header:
/// supported, advertised, and what the link partner advertises.
LinkSettingsAnswer askLinkSettings(EthtoolChannel& channel, const std::string& port) {
  ethtool_link_settings header{};
  header.cmd = ETHTOOL_GLINKSETTINGS;
  if (!answeredOrRefused(channel, port, &header) || header.link_mode_masks_nwords >= 0) return {};
  const auto words = static_cast<std::size_t>(-header.link_mode_masks_nwords);

  ethtool_link_settings question{};
  question.cmd = ETHTOOL_GLINKSETTINGS;
  question.link_mode_masks_nwords = static_cast<std::int8_t>(words);
  LinkSettingsAnswer answer(kLinkSettingsSize + 3 * words * sizeof(std::uint32_t));
  std::memcpy(answer.data(), &question, kLinkSettingsSize);
  if (!answeredOrRefused(channel, port, answer.data())) return {};
  return answer;
}

std::optional<ethtool_channels> askChannels(EthtoolChannel& channel, const std::string& port) {
  ethtool_channels question{};
  question.cmd = ETHTOOL_GCHANNELS;
  if (!answered(channel, port, &question)) return {};
  return question;
}

ethtool_wolinfo askWakeOnLan(EthtoolChannel& channel, const std::string& port) {
  return askGroup<ethtool_wolinfo>(channel, port, ETHTOOL_GWOL);
}

ethtool_coalesce askCoalesce(EthtoolChannel& channel, const std::string& port) {
  return askGroup<ethtool_coalesce>(channel, port, ETHTOOL_GCOALESCE);
}

ethtool_drvinfo askDriver(EthtoolChannel& channel, const std::string& port) {
  return askGroup<ethtool_drvinfo>(channel, port, ETHTOOL_GDRVINFO);
}

Nodemgr::Network::MacAddress::Bytes askPermanentAddress(EthtoolChannel& channel,
                                                        const std::string& port) {
  constexpr std::size_t kLongestAddress = 32;
  alignas(ethtool_perm_addr) std::array<unsigned char, sizeof(ethtool_perm_addr) + kLongestAddress>
      question{};
  ethtool_perm_addr header{};
  header.cmd = ETHTOOL_GPERMADDR;
  header.size = kLongestAddress;
  std::memcpy(question.data(), &header, sizeof header);
  Nodemgr::Network::MacAddress::Bytes address{};
  if (!answered(channel, port, question.data())) return address;
  std::memcpy(&header, question.data(), sizeof header);
  if (header.size != address.size()) return address;
  std::copy_n(question.begin() + sizeof header, address.size(), address.begin());
  return address;
}

PnicLinkSettings decodeLinkSettings(const LinkSettingsAnswer& answer) {
  PnicLinkSettings settings;
  settings.transceiver = Nodemgr::Network::TransceiverMode::kUnknown;
  if (answer.size() < kLinkSettingsSize) return settings;
  const ethtool_link_settings header = linkSettingsHeader(answer);
  const std::size_t words = header.link_mode_masks_nwords > 0
                                ? static_cast<std::size_t>(header.link_mode_masks_nwords)
                                : 0;
  if (answer.size() < kLinkSettingsSize + 2 * words * sizeof(std::uint32_t)) return settings;
  const LinkModeBits supported = bitmapAt(answer, 0, words);
  const LinkModeBits advertised = bitmapAt(answer, 1, words);
  settings.supportedPorts = portModesOf(supported);
  settings.supportedLinkModes = linkModesOf(supported);
  settings.autoNegotiation = header.autoneg == AUTONEG_ENABLE ? 1 : 0;
  settings.advertisedLinkModes = linkModesOf(advertised);
  settings.advertisedAutoNegotiation = hasAutoNegotiation(advertised);
  settings.linkMode = {speedOf(header.speed), duplexOf(header.duplex)};
  settings.portMode = portModeOf(header.port);
  settings.phyAddress = header.phy_address;
  settings.transceiver = Nodemgr::Network::TransceiverMode{header.transceiver};
  return settings;
}

std::vector<WakeOnMode> decodeWakeModes(std::uint32_t bits) {
  std::vector<WakeOnMode> modes;
  for (std::uint32_t bit = 0; bit < 32; ++bit) {
    if (((bits >> bit) & 1U) != 0) modes.push_back(WakeOnMode{bit + 1});
  }
  return modes;
}

PnicCoalesceParams decodeCoalesce(const ethtool_coalesce& answer) {
  PnicCoalesceParams params;
  params.adaptiveRx = answer.use_adaptive_rx_coalesce != 0;
  params.adaptiveTx = answer.use_adaptive_tx_coalesce != 0;
  params.statsBlockUsecs = answer.stats_block_coalesce_usecs;
  params.sampleInterval = answer.rate_sample_interval;
  params.pktRateLow = answer.pkt_rate_low;
  params.pktRateHigh = answer.pkt_rate_high;
  params.rxUsecs = answer.rx_coalesce_usecs;
  params.rxFrames = answer.rx_max_coalesced_frames;
  params.rxUsecsIrq = answer.rx_coalesce_usecs_irq;
  params.rxFramesIrq = answer.rx_max_coalesced_frames_irq;
  params.txUsecs = answer.tx_coalesce_usecs;
  params.txFrames = answer.tx_max_coalesced_frames;
  params.txUsecsIrq = answer.tx_coalesce_usecs_irq;
  params.txFramesIrq = answer.tx_max_coalesced_frames_irq;
  params.rxUsecsLow = answer.rx_coalesce_usecs_low;
  params.rxFrameLow = answer.rx_max_coalesced_frames_low;
  params.txUsecsLow = answer.tx_coalesce_usecs_low;
  params.txFrameLow = answer.tx_max_coalesced_frames_low;
  params.rxUsecsHigh = answer.rx_coalesce_usecs_high;
  params.rxFrameHigh = answer.rx_max_coalesced_frames_high;
  params.txUsecsHigh = answer.tx_coalesce_usecs_high;
  params.txFrameHigh = answer.tx_max_coalesced_frames_high;
  return params;
}

PnicDriverInfo decodeDriver(const ethtool_drvinfo& answer) {
  PnicDriverInfo info;
  info.driver = fieldText(answer.driver);
  info.driverVersion = fieldText(answer.version);
  info.firmwareVersion = fieldText(answer.fw_version);
  info.busInfo = fieldText(answer.bus_info);
  return info;
}

}  // namespace LinuxHost
