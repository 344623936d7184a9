#include "platform/linux/linux_pnic.h"

#include <linux/if.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

#include "platform/linux/ethtool_groups.h"
#include "platform/linux/pci_location.h"
#include "platform/linux/sysfs.h"
#include "platform/nodemgr_exception.h"

namespace LinuxHost {

using namespace Nodemgr::Network;

namespace {

/// An answer that is asked for when it is first needed and never again: after a failure, the
/// failure is repeated. Until then it takes only the room of a pointer, since hosts have hundreds
/// of ports and most requests want one group of facts or none.
template <typename Value>
class AskedOnce {
 public:
  template <typename Ask>
  const Value& get(Ask ask) {
    if (outcome_ == nullptr) {
      auto outcome = std::make_unique<Outcome>();
      try {
        outcome->value = ask();
      } catch (const Nodemgr::Lib::NodemgrException& e) {
        outcome->failure = e.what();
      }
      outcome_ = std::move(outcome);
    }
    if (!outcome_->value) throw Nodemgr::Lib::NodemgrException(outcome_->failure);
    return *outcome_->value;
  }

 private:
  struct Outcome {
    std::optional<Value> value;
    std::string failure;  ///< when there is no value
  };
  std::unique_ptr<Outcome> outcome_;
};

class LinuxPnic : public Pnic {
 public:
  LinuxPnic(std::shared_ptr<const LinkRecord> link, std::shared_ptr<EthtoolChannel> channel,
            std::string sysRoot)
      : link_(std::move(link)), channel_(std::move(channel)), sysRoot_(std::move(sysRoot)) {}

  std::string GetName() override { return link_->name; }
  PciDevice* GetPciDevice() override {
    return pci_.get([this] { return locatedPciDevice(); }).get();
  }
  Duplex GetDuplex() override { return linkSettings().linkMode.second; }
  bool IsLinkUp() override { return (link_->flags & IFF_LOWER_UP) != 0; }
  bool IsEnabled() override { return (link_->flags & IFF_UP) != 0; }
  std::uint32_t GetLinkSpeed() override {
    return static_cast<std::uint32_t>(linkSettings().linkMode.first);
  }
  MacAddress GetMacAddress() override {
    if (link_->permanentAddress) return MacAddress(*link_->permanentAddress);
    // The link message has the permanent address since Linux 5.6; the driver knew it before.
    const auto& permanent =
        permanentAddress_.get([this] { return askPermanentAddress(*channel_, link_->name); });
    if (permanent != MacAddress::Bytes{}) return MacAddress(permanent);
    return MacAddress(link_->address.value_or(MacAddress::Bytes{}));
  }
  bool IsCapabilityEnabled() override { return queues().used > 1; }
  bool IsCapabilitySupported() override { return queues().possible > 1; }
  std::uint32_t GetMtu() override { return link_->mtu; }
  void fill(AnyRecord record) override {
    std::visit([this](auto* wanted) { give(*wanted); }, record);
  }

 private:
  /// The instance of a port begins with this record, and has only its keys when it fails. So
  /// whatever else the instance shows is asked for first: if the port goes away, that fails here,
  /// and not in the middle of the instance, which would end the answer for all ports.
  void give(PnicLinkSettings& settings) {
    GetPciDevice();
    GetMacAddress();
    queues();
    wakeOnLan();
    settings = linkSettings();
    settings.wolSupported = decodeWakeModes(wakeOnLan().supported);
    settings.wolOptions = decodeWakeModes(wakeOnLan().wolopts);
  }
  void give(PnicStatistics& statistics) const { statistics = statisticsOf(link_->statistics); }
  void give(PnicCoalesceParams& params) const {
    params = decodeCoalesce(askCoalesce(*channel_, link_->name));
  }
  void give(PnicDriverInfo& info) const { info = decodeDriver(askDriver(*channel_, link_->name)); }

  /// The receive queues that the driver could use, and those that it uses.
  struct QueueCounts {
    std::uint32_t possible = 0;
    std::uint32_t used = 0;
  };

  const PnicLinkSettings& linkSettings() {
    return linkSettings_.get(
        [this] { return decodeLinkSettings(askLinkSettings(*channel_, link_->name)); });
  }
  const ethtool_wolinfo& wakeOnLan() {
    return wakeOnLan_.get([this] { return askWakeOnLan(*channel_, link_->name); });
  }
  const QueueCounts& queues() {
    return queues_.get([this] { return askQueues(); });
  }
  /// A driver that does not report channels has exactly the queues that sysfs shows.
  QueueCounts askQueues() const {
    QueueCounts counts;
    if (const auto channels = askChannels(*channel_, link_->name)) {
      counts.possible = channels->max_rx + channels->max_combined;
      counts.used = channels->rx_count + channels->combined_count;
      return counts;
    }
    const auto names = namesIn(linkDirectory(sysRoot_, link_->name) + "/queues");
    const auto receives = [](const std::string& name) { return name.compare(0, 3, "rx-") == 0; };
    counts.used = static_cast<std::uint32_t>(std::count_if(names.begin(), names.end(), receives));
    counts.possible = counts.used;
    return counts;
  }
  /// Null when the port is not on PCI.
  std::unique_ptr<PciDevice> locatedPciDevice() const {
    if (!link_->parent) return nullptr;
    const auto location = readPciLocation(*link_->parent, sysRoot_);
    return location ? std::make_unique<LocatedPciDevice>(*location) : nullptr;
  }

  std::shared_ptr<const LinkRecord> link_;
  std::shared_ptr<EthtoolChannel> channel_;
  std::string sysRoot_;
  AskedOnce<PnicLinkSettings> linkSettings_;
  AskedOnce<ethtool_wolinfo> wakeOnLan_;
  AskedOnce<QueueCounts> queues_;
  AskedOnce<MacAddress::Bytes> permanentAddress_;
  AskedOnce<std::unique_ptr<PciDevice>> pci_;
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

std::unique_ptr<Pnic> makePnic(std::shared_ptr<const LinkRecord> link,
                               std::shared_ptr<EthtoolChannel> channel, std::string sysRoot) {
  return std::make_unique<LinuxPnic>(std::move(link), std::move(channel), std::move(sysRoot));
}

}  // namespace LinuxHost
