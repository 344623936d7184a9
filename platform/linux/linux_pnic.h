#pragma once

#include <memory>
#include <string>

#include "platform/linux/ethtool_channel.h"
#include "platform/linux/netlink_messages.h"
#include "platform/pnic.h"

namespace LinuxHost {

/// The nineteen counters of a port, from the kernel's.
Nodemgr::Network::PnicStatistics statisticsOf(const rtnl_link_stats64& counters);

/// One port of this Linux host. Name, MTU, states, statistics and (since Linux 5.6) address are
/// those of the link message. What several operations tell (link settings, wake-on-LAN modes,
/// channels, the permanent address, the PCI location) is asked for once, at the first call that
/// needs it; driver and coalescing at each call. Used by one thread.
std::unique_ptr<Nodemgr::Network::Pnic> makePnic(std::shared_ptr<const LinkRecord> link,
                                                 std::shared_ptr<EthtoolChannel> channel,
                                                 std::string sysRoot);

}  // namespace LinuxHost
