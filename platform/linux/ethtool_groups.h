#pragma once

#include <linux/ethtool.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/ethtool_channel.h"
#include "platform/linux/link_modes.h"
#include "platform/pnic.h"

/// The groups of facts that a port's driver is asked for through ethtool. An ask...() function asks
/// the question, a decode...() function turns the answer into the host library's record.
///
/// The answer is empty (absent, or all zero) when the driver has none or the kernel gives it to
/// privileged callers only. Fails: NodemgrException when the port is gone or the kernel could not
/// be asked at all. An error of the driver itself (EIO, EBUSY, ETIMEDOUT ...) is such an exception
/// from askLinkSettings(), because a port of speed 0 without modes would look like a fact. From the
/// other functions it is an empty answer, because a failure would end a whole enumeration.
namespace LinuxHost {

/// The bytes of the answer to ETHTOOL_GLINKSETTINGS: an ethtool_link_settings and its bitmaps.
/// Empty when the driver has no link settings.
using LinkSettingsAnswer = std::vector<unsigned char>;

LinkSettingsAnswer askLinkSettings(EthtoolChannel& channel, const std::string& port);
std::optional<ethtool_channels> askChannels(EthtoolChannel& channel, const std::string& port);
ethtool_wolinfo askWakeOnLan(EthtoolChannel& channel, const std::string& port);
ethtool_coalesce askCoalesce(EthtoolChannel& channel, const std::string& port);
ethtool_drvinfo askDriver(EthtoolChannel& channel, const std::string& port);
/// All zero when the adapter has no address of its own or the kernel does not give it.
Nodemgr::Network::MacAddress::Bytes askPermanentAddress(EthtoolChannel& channel,
                                                        const std::string& port);

/// Everything but the wake-on-LAN modes, which are a group of their own. An answer that is empty,
/// or shorter than it should be, gives a record without modes and with an unknown transceiver.
Nodemgr::Network::PnicLinkSettings decodeLinkSettings(const LinkSettingsAnswer& answer);
/// The modes in a bit set of the kernel (WAKE_...), in the order of the bits.
std::vector<Nodemgr::Network::WakeOnMode> decodeWakeModes(std::uint32_t bits);
Nodemgr::Network::PnicCoalesceParams decodeCoalesce(const ethtool_coalesce& answer);
Nodemgr::Network::PnicDriverInfo decodeDriver(const ethtool_drvinfo& answer);

}  // namespace LinuxHost
