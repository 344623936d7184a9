#include "platform/linux/linux_pnic.h"

#include <linux/if.h>

#include <algorithm>
#include <utility>

#include "platform/linux/parent_device.h"
#include "platform/linux/sysfs.h"
#include "platform/nodemgr_exception.h"

namespace LinuxHost {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::PciDevice;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicLinkSettings;
using Nodemgr::Network::PnicStatistics;

namespace {

class LocatedPciDevice : public PciDevice {
 public:
  explicit LocatedPciDevice(const PciLocation& location) : location_(location) {}

  std::uint16_t GetSegment() override { return location_.segment; }
  std::uint8_t GetBus() override { return location_.bus; }
  std::uint8_t GetSlot() override { return location_.slot; }
  std::uint8_t GetFunction() override { return location_.function; }
  std::uint16_t GetVendorId() override { return location_.vendorId; }
  std::uint16_t GetDeviceId() override { return location_.deviceId; }

 private:
  PciLocation location_;
};

}  // namespace

PnicStatistics statisticsOf(const rtnl_link_stats64& counters) {
  PnicStatistics statistics;
  statistics.packetsTx = counters.tx_packets;
  statistics.packetsRx = counters.rx_packets;
  statistics.bytesTx = counters.tx_bytes;
  statistics.bytesRx = counters.rx_bytes;
  statistics.errorsTx = counters.tx_errors;
  statistics.errorsRx = counters.rx_errors;
  statistics.droppedTx = counters.tx_dropped;
  statistics.droppedRx = counters.rx_dropped;
  statistics.rxLengthErrors = counters.rx_length_errors;
  statistics.rxOverErrors = counters.rx_over_errors;
  statistics.rxCrcErrors = counters.rx_crc_errors;
  statistics.rxFrameErrors = counters.rx_frame_errors;
  statistics.rxFifoErrors = counters.rx_fifo_errors;
  statistics.rxMissedErrors = counters.rx_missed_errors;
  statistics.txAbortedErrors = counters.tx_aborted_errors;
  statistics.txFifoErrors = counters.tx_fifo_errors;
  statistics.txCarrierErrors = counters.tx_carrier_errors;
  statistics.txHeartbeatErrors = counters.tx_heartbeat_errors;
  statistics.txWindowErrors = counters.tx_window_errors;
  return statistics;
}

template <typename Value>
template <typename Ask>
const Value& AskedOnce<Value>::get(Ask ask) {
  if (!asked_) {
    try {
      value_ = ask();
    } catch (const Nodemgr::Lib::NodemgrException& e) {
      failure_ = e.what();
    }
    asked_ = true;
  }
  if (!value_) throw Nodemgr::Lib::NodemgrException(failure_);
  return *value_;
}

LinuxPnic::LinuxPnic(LinkRecord link, std::shared_ptr<EthtoolChannel> channel, std::string sysRoot)
    : link_(std::move(link)), channel_(std::move(channel)), sysRoot_(std::move(sysRoot)) {}

std::string LinuxPnic::GetName() { return link_.name; }

PciDevice* LinuxPnic::GetPciDevice() {
  return pci_
      .get([this]() -> std::unique_ptr<PciDevice> {
        if (!link_.parent) return nullptr;
        const auto location = readPciLocation(*link_.parent, sysRoot_);
        return location ? std::make_unique<LocatedPciDevice>(*location) : nullptr;
      })
      .get();
}

Duplex LinuxPnic::GetDuplex() { return linkSettings().linkMode.second; }

bool LinuxPnic::IsLinkUp() { return (link_.flags & IFF_LOWER_UP) != 0; }

bool LinuxPnic::IsEnabled() { return (link_.flags & IFF_UP) != 0; }

std::uint32_t LinuxPnic::GetLinkSpeed() {
  return static_cast<std::uint32_t>(linkSettings().linkMode.first);
}

MacAddress LinuxPnic::GetMacAddress() {
  if (link_.permanentAddress) return MacAddress(*link_.permanentAddress);
  // The link message carries the permanent address since Linux 5.6; the driver knew it before.
  const auto& permanent =
      permanentAddress_.get([this] { return askPermanentAddress(*channel_, link_.name); });
  if (permanent != MacAddress::Bytes{}) return MacAddress(permanent);
  return MacAddress(link_.address.value_or(MacAddress::Bytes{}));
}

bool LinuxPnic::IsCapabilityEnabled() { return queues().used > 1; }

bool LinuxPnic::IsCapabilitySupported() { return queues().possible > 1; }

std::uint32_t LinuxPnic::GetMtu() { return link_.mtu; }

void LinuxPnic::GetLinkSettings(PnicLinkSettings& settings) {
  settings = linkSettings();
  settings.wolSupported = decodeWakeModes(wakeOnLan().supported);
  settings.wolOptions = decodeWakeModes(wakeOnLan().wolopts);
}

void LinuxPnic::GetStatistics(PnicStatistics& statistics) {
  statistics = statisticsOf(link_.statistics);
}

void LinuxPnic::GetCoalesceParams(PnicCoalesceParams& params) {
  params = coalesce_.get([this] { return decodeCoalesce(askCoalesce(*channel_, link_.name)); });
}

void LinuxPnic::GetDriverInfo(PnicDriverInfo& info) {
  info = driver_.get([this] { return decodeDriver(askDriver(*channel_, link_.name)); });
}

const PnicLinkSettings& LinuxPnic::linkSettings() {
  return linkSettings_.get(
      [this] { return decodeLinkSettings(askLinkSettings(*channel_, link_.name)); });
}

const ethtool_wolinfo& LinuxPnic::wakeOnLan() {
  return wakeOnLan_.get([this] { return askWakeOnLan(*channel_, link_.name); });
}

const LinuxPnic::QueueCounts& LinuxPnic::queues() {
  return queues_.get([this] { return askQueues(); });
}

/// A driver that does not count its channels has exactly the queues that sysfs shows.
LinuxPnic::QueueCounts LinuxPnic::askQueues() {
  QueueCounts counts;
  if (const auto channels = askChannels(*channel_, link_.name)) {
    counts.possible = channels->max_rx + channels->max_combined;
    counts.used = channels->rx_count + channels->combined_count;
    return counts;
  }
  const auto names = namesIn(linkDirectory(sysRoot_, link_.name) + "/queues");
  const auto receives = [](const std::string& name) { return name.compare(0, 3, "rx-") == 0; };
  counts.used = static_cast<std::uint32_t>(std::count_if(names.begin(), names.end(), receives));
  counts.possible = counts.used;
  return counts;
}

}  // namespace LinuxHost
