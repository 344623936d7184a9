#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "platform/fact.h"

namespace Nodemgr::Network {

using platform::Fact;

/// The numbers are the host library's; others than those with names may occur.
enum class Duplex : std::uint32_t { kAuto = 0, kFull = 1, kHalf = 2 };

/// Megabits per second; 0 is automatic or unknown. Link modes name 10, 100, 1000, 2500 and 10000;
/// other speeds occur.
enum class LinkSpeed : std::uint32_t { kAuto = 0 };

/// Medium of the connector. 0 is twisted pair and 4 is fibre.
enum class PnicPortMode : std::uint32_t {
  kTwistedPair = 0,
  kAttachmentUnit = 1,
  kMediaIndependent = 2,
  kCoaxial = 3,
  kFibre = 4
};

enum class TransceiverMode : std::uint32_t { kInternal = 0, kExternal = 1, kUnknown = 2 };

/// Wake-on-LAN modes in the kernel's bit order, counted from 1.
enum class WakeOnMode : std::uint32_t {
  kPhy = 1,
  kUnicast = 2,
  kMulticast = 3,
  kBroadcast = 4,
  kArp = 5,
  kMagic = 6,
  kMagicSecure = 7
};

using LinkMode = std::pair<LinkSpeed, Duplex>;

class MacAddress {
 public:
  using Bytes = std::array<unsigned char, 6>;

  MacAddress() = default;
  explicit MacAddress(const Bytes& bytes) : bytes_(bytes) {}

  /// Writes the six bytes in transmission order to `address`.
  void GetBinaryAddress(unsigned char* address) const {
    for (unsigned char byte : bytes_) *address++ = byte;
  }

 private:
  Bytes bytes_{};
};

struct PnicLinkSettings {
  std::vector<PnicPortMode> supportedPorts;
  std::vector<LinkMode> supportedLinkModes;
  std::uint8_t autoNegotiation = 0;
  std::vector<LinkMode> advertisedLinkModes;
  bool advertisedAutoNegotiation = false;
  LinkMode linkMode{};
  PnicPortMode portMode{};
  std::uint32_t phyAddress = 0;
  TransceiverMode transceiver{};
  std::vector<WakeOnMode> wolSupported;
  std::vector<WakeOnMode> wolOptions;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"supportedPorts", &PnicLinkSettings::supportedPorts,
             "port modes: 0 twisted pair to 4 fibre"},
        Fact{"supportedLinkModes", &PnicLinkSettings::supportedLinkModes},
        Fact{"autoNegotiation", &PnicLinkSettings::autoNegotiation, "0 or 1"},
        Fact{"advertisedLinkModes", &PnicLinkSettings::advertisedLinkModes},
        Fact{"advertisedAutoNegotiation", &PnicLinkSettings::advertisedAutoNegotiation},
        Fact{"linkMode", &PnicLinkSettings::linkMode, "current"},
        Fact{"portMode", &PnicLinkSettings::portMode, "current"},
        Fact{"phyAddress", &PnicLinkSettings::phyAddress,
             "on the management bus; not a MAC address"},
        Fact{"transceiver", &PnicLinkSettings::transceiver, "0 internal, 1 external, 2 unknown"},
        Fact{"wolSupported", &PnicLinkSettings::wolSupported, "wake-on-LAN modes, 1 to 7"},
        Fact{"wolOptions", &PnicLinkSettings::wolOptions, "wake-on-LAN modes that are switched on"},
    };
  }
};
static_assert(platform::everyMemberIsAFact<PnicLinkSettings>());

/// Counters since the driver was loaded. The facts are spelled like the properties that show them,
/// mixed capitals included.
struct PnicStatistics {
  std::uint64_t packetsTx = 0;
  std::uint64_t packetsRx = 0;
  std::uint64_t bytesTx = 0;
  std::uint64_t bytesRx = 0;
  std::uint64_t errorsTx = 0;
  std::uint64_t errorsRx = 0;
  std::uint64_t droppedTx = 0;
  std::uint64_t droppedRx = 0;
  std::uint64_t rxLengthErrors = 0;
  std::uint64_t rxOverErrors = 0;
  std::uint64_t rxCrcErrors = 0;
  std::uint64_t rxFrameErrors = 0;
  std::uint64_t rxFifoErrors = 0;
  std::uint64_t rxMissedErrors = 0;
  std::uint64_t txAbortedErrors = 0;
  std::uint64_t txFifoErrors = 0;
  std::uint64_t txCarrierErrors = 0;
  std::uint64_t txHeartbeatErrors = 0;
  std::uint64_t txWindowErrors = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"packetsTx", &PnicStatistics::packetsTx},
        Fact{"packetsRx", &PnicStatistics::packetsRx},
        Fact{"bytesTx", &PnicStatistics::bytesTx},
        Fact{"bytesRx", &PnicStatistics::bytesRx},
        Fact{"errorsTx", &PnicStatistics::errorsTx},
        Fact{"errorsRx", &PnicStatistics::errorsRx},
        Fact{"droppedTx", &PnicStatistics::droppedTx},
        Fact{"droppedRx", &PnicStatistics::droppedRx},
        Fact{"RxLengthErrors", &PnicStatistics::rxLengthErrors},
        Fact{"RxOverErrors", &PnicStatistics::rxOverErrors},
        Fact{"RxCRCErrors", &PnicStatistics::rxCrcErrors},
        Fact{"RxFrameErrors", &PnicStatistics::rxFrameErrors},
        Fact{"RxFIFOErrors", &PnicStatistics::rxFifoErrors},
        Fact{"RxMissedErrors", &PnicStatistics::rxMissedErrors},
        Fact{"TxAbortedErrors", &PnicStatistics::txAbortedErrors},
        Fact{"TxFIFOErrors", &PnicStatistics::txFifoErrors},
        Fact{"TxCarrierErrors", &PnicStatistics::txCarrierErrors},
        Fact{"TxHeartbeatErrors", &PnicStatistics::txHeartbeatErrors},
        Fact{"TxWindowErrors", &PnicStatistics::txWindowErrors},
    };
  }
};
static_assert(platform::everyMemberIsAFact<PnicStatistics>());

/// Interrupt coalescing. Times are in microseconds, rates in packets per second, the sampling
/// interval in seconds. The facts are spelled like the properties that show them, the singular
/// "Frame" at low and high packet rate included.
struct PnicCoalesceParams {
  bool adaptiveRx = false;
  bool adaptiveTx = false;
  std::uint32_t statsBlockUsecs = 0;
  std::uint32_t sampleInterval = 0;
  std::uint32_t pktRateLow = 0;
  std::uint32_t pktRateHigh = 0;
  std::uint32_t rxUsecs = 0;
  std::uint32_t rxFrames = 0;
  std::uint32_t rxUsecsIrq = 0;
  std::uint32_t rxFramesIrq = 0;
  std::uint32_t txUsecs = 0;
  std::uint32_t txFrames = 0;
  std::uint32_t txUsecsIrq = 0;
  std::uint32_t txFramesIrq = 0;
  std::uint32_t rxUsecsLow = 0;
  std::uint32_t rxFrameLow = 0;
  std::uint32_t txUsecsLow = 0;
  std::uint32_t txFrameLow = 0;
  std::uint32_t rxUsecsHigh = 0;
  std::uint32_t rxFrameHigh = 0;
  std::uint32_t txUsecsHigh = 0;
  std::uint32_t txFrameHigh = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"adaptiveRX", &PnicCoalesceParams::adaptiveRx},
        Fact{"adaptiveTX", &PnicCoalesceParams::adaptiveTx},
        Fact{"statsBlockUsecs", &PnicCoalesceParams::statsBlockUsecs},
        Fact{"sampleInterval", &PnicCoalesceParams::sampleInterval},
        Fact{"pktRateLow", &PnicCoalesceParams::pktRateLow},
        Fact{"pktRateHigh", &PnicCoalesceParams::pktRateHigh},
        Fact{"rxUsecs", &PnicCoalesceParams::rxUsecs},
        Fact{"rxFrames", &PnicCoalesceParams::rxFrames},
        Fact{"rxUsecsIrq", &PnicCoalesceParams::rxUsecsIrq},
        Fact{"rxFramesIrq", &PnicCoalesceParams::rxFramesIrq},
        Fact{"txUsecs", &PnicCoalesceParams::txUsecs},
        Fact{"txFrames", &PnicCoalesceParams::txFrames},
        Fact{"txUsecsIrq", &PnicCoalesceParams::txUsecsIrq},
        Fact{"txFramesIrq", &PnicCoalesceParams::txFramesIrq},
        Fact{"rxUsecsLow", &PnicCoalesceParams::rxUsecsLow},
        Fact{"rxFrameLow", &PnicCoalesceParams::rxFrameLow},
        Fact{"txUsecsLow", &PnicCoalesceParams::txUsecsLow},
        Fact{"txFrameLow", &PnicCoalesceParams::txFrameLow},
        Fact{"rxUsecsHigh", &PnicCoalesceParams::rxUsecsHigh},
        Fact{"rxFrameHigh", &PnicCoalesceParams::rxFrameHigh},
        Fact{"txUsecsHigh", &PnicCoalesceParams::txUsecsHigh},
        Fact{"txFrameHigh", &PnicCoalesceParams::txFrameHigh},
    };
  }
};
static_assert(platform::everyMemberIsAFact<PnicCoalesceParams>());

struct PnicDriverInfo {
  std::string driver;
  std::string driverVersion;
  std::string firmwareVersion;
  std::string busInfo;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"driver", &PnicDriverInfo::driver},
        Fact{"driverVersion", &PnicDriverInfo::driverVersion},
        Fact{"firmwareVersion", &PnicDriverInfo::firmwareVersion},
        Fact{"busInfo", &PnicDriverInfo::busInfo},
    };
  }
};
static_assert(platform::everyMemberIsAFact<PnicDriverInfo>());

/// An operation of Pnic that fills a record.
template <typename Record>
struct RecordCall {
  const char* name;    ///< of the operation
  const char* member;  ///< of a port in a host file: the answer
};

/// One row for each kind of record. Whatever hosts do in the same way with all records follows from
/// these rows, so that a new record is a row, an operation of Pnic, and what the Linux host knows
/// of it.
constexpr std::tuple kRecordCalls{
    RecordCall<PnicLinkSettings>{"GetLinkSettings", "linkSettings"},
    RecordCall<PnicStatistics>{"GetStatistics", "statistics"},
    RecordCall<PnicCoalesceParams>{"GetCoalesceParams", "coalesce"},
    RecordCall<PnicDriverInfo>{"GetDriverInfo", "driverInfo"},
};

/// The row of one record.
template <typename Record>
constexpr RecordCall<Record> kRecordCallOf = std::get<RecordCall<Record>>(kRecordCalls);

template <typename... Record>
std::variant<Record*...> pointerToOneOf(const std::tuple<RecordCall<Record>...>&);
/// A record of any kind, to be filled.
using AnyRecord = decltype(pointerToOneOf(kRecordCalls));

/// Where a device is on PCI, and what it is.
struct PciLocation {
  std::uint16_t segment = 0;
  std::uint8_t bus = 0;
  std::uint8_t slot = 0;
  std::uint8_t function = 0;
  std::uint16_t vendorId = 0;
  std::uint16_t deviceId = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"segment", &PciLocation::segment},   Fact{"bus", &PciLocation::bus},
        Fact{"slot", &PciLocation::slot},         Fact{"function", &PciLocation::function},
        Fact{"vendorId", &PciLocation::vendorId}, Fact{"deviceId", &PciLocation::deviceId},
    };
  }
};
static_assert(platform::everyMemberIsAFact<PciLocation>());

/// A port's device on PCI.
class PciDevice {
 public:
  virtual ~PciDevice() = default;
  virtual std::uint16_t GetSegment() = 0;
  virtual std::uint8_t GetBus() = 0;
  virtual std::uint8_t GetSlot() = 0;
  virtual std::uint8_t GetFunction() = 0;
  virtual std::uint16_t GetVendorId() = 0;
  virtual std::uint16_t GetDeviceId() = 0;
};

/// A device whose location is known.
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

/// One physical Ethernet port, as it was when the list was taken. What is not part of the list is
/// asked for when a call needs it. One object serves one request on one thread.
///
/// Fails: every operation may throw Nodemgr::Lib::NodemgrException. A facility that the driver
/// lacks is not a failure but an empty answer.
class Pnic {
 public:
  virtual ~Pnic() = default;
  virtual std::string GetName() = 0;
  /// Owned by the port; null when the port is not on PCI.
  virtual PciDevice* GetPciDevice() = 0;
  virtual Duplex GetDuplex() = 0;
  virtual bool IsLinkUp() = 0;
  /// Whether the port is administratively up.
  virtual bool IsEnabled() = 0;
  /// Megabits per second, 0 when unknown.
  virtual std::uint32_t GetLinkSpeed() = 0;
  virtual MacAddress GetMacAddress() = 0;
  /// Whether the port spreads received load over more than one queue.
  virtual bool IsCapabilityEnabled() = 0;
  /// Whether the port could spread received load over more than one queue.
  virtual bool IsCapabilitySupported() = 0;
  /// In bytes.
  virtual std::uint32_t GetMtu() = 0;

  // Each fills a record, which the caller passes with its defaults.
  void GetLinkSettings(PnicLinkSettings& settings) { fill(&settings); }
  void GetStatistics(PnicStatistics& statistics) { fill(&statistics); }
  void GetCoalesceParams(PnicCoalesceParams& params) { fill(&params); }
  void GetDriverInfo(PnicDriverInfo& info) { fill(&info); }

  /// Fills any of these records; implemented by a host.
  virtual void fill(AnyRecord record) = 0;
};

}  // namespace Nodemgr::Network
