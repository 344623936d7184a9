#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/ethtool_groups.h"
#include "platform/linux/netlink_messages.h"
#include "platform/linux/pci_location.h"
#include "platform/pnic.h"

namespace LinuxHost {

/// A port's nineteen counters from the kernel's.
Nodemgr::Network::PnicStatistics statisticsOf(const rtnl_link_stats64& counters);

/// An answer that is fetched when it is first wanted and never again, not even after a failure:
/// the failure is then repeated.
template <typename Value>
class AskedOnce {
 public:
  template <typename Ask>
  const Value& get(Ask ask);

 private:
  bool asked_ = false;
  std::string failure_;
  std::optional<Value> value_;
};

/// One port of this Linux host. Name, MTU, address, states and statistics are those of the link
/// message that the port was made from; each ethtool group and the PCI location are asked for at
/// the first call that needs them, once. Used by one thread.
class LinuxPnic : public Nodemgr::Network::Pnic {
 public:
  LinuxPnic(LinkRecord link, std::shared_ptr<EthtoolChannel> channel, std::string sysRoot);

  std::string GetName() override;
  Nodemgr::Network::PciDevice* GetPciDevice() override;
  Nodemgr::Network::Duplex GetDuplex() override;
  bool IsLinkUp() override;
  bool IsEnabled() override;
  std::uint32_t GetLinkSpeed() override;
  Nodemgr::Network::MacAddress GetMacAddress() override;
  bool IsCapabilityEnabled() override;
  bool IsCapabilitySupported() override;
  std::uint32_t GetMtu() override;
  void GetLinkSettings(Nodemgr::Network::PnicLinkSettings& settings) override;
  void GetStatistics(Nodemgr::Network::PnicStatistics& statistics) override;
  void GetCoalesceParams(Nodemgr::Network::PnicCoalesceParams& params) override;
  void GetDriverInfo(Nodemgr::Network::PnicDriverInfo& info) override;

 private:
  /// Receive queues that the driver could use and does use.
  struct QueueCounts {
    std::uint32_t possible = 0;
    std::uint32_t used = 0;
  };

  const Nodemgr::Network::PnicLinkSettings& linkSettings();
  const ethtool_wolinfo& wakeOnLan();
  const QueueCounts& queues();
  QueueCounts askQueues();

  LinkRecord link_;
  std::shared_ptr<EthtoolChannel> channel_;
  std::string sysRoot_;
  AskedOnce<Nodemgr::Network::PnicLinkSettings> linkSettings_;
  AskedOnce<ethtool_wolinfo> wakeOnLan_;
  AskedOnce<Nodemgr::Network::PnicCoalesceParams> coalesce_;
  AskedOnce<Nodemgr::Network::PnicDriverInfo> driver_;
  AskedOnce<QueueCounts> queues_;
  AskedOnce<Nodemgr::Network::MacAddress::Bytes> permanentAddress_;
  AskedOnce<std::unique_ptr<Nodemgr::Network::PciDevice>> pci_;
};

}  // namespace LinuxHost
