#include <array>
#include <cstddef>
#include <string>

#include "ethernet/ethernet_port_provider.h"
#include "platform/nodemgr_exception.h"

namespace EthernetProvider {

namespace {

using Nodemgr::Lib::NodemgrException;
using Nodemgr::Network::Pnic;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicStatistics;

/// A property and the field of the host library's record that it shows.
template <typename Record, typename Field>
struct FieldProperty {
  const char* name;
  Field Record::*field;
};

// In the order in which the properties are set. Names are spelled as the classes spell them: mixed
// capitals in the statistics, a singular "Frame" at low and high packet rate.

constexpr std::array<FieldProperty<PnicStatistics, std::uint64_t>, 19> kCounters = {{
    {"packetsTx", &PnicStatistics::packetsTx},
    {"packetsRx", &PnicStatistics::packetsRx},
    {"bytesTx", &PnicStatistics::bytesTx},
    {"bytesRx", &PnicStatistics::bytesRx},
    {"errorsTx", &PnicStatistics::errorsTx},
    {"errorsRx", &PnicStatistics::errorsRx},
    {"droppedTx", &PnicStatistics::droppedTx},
    {"droppedRx", &PnicStatistics::droppedRx},
    {"RxLengthErrors", &PnicStatistics::rxLengthErrors},
    {"RxOverErrors", &PnicStatistics::rxOverErrors},
    {"RxCRCErrors", &PnicStatistics::rxCrcErrors},
    {"RxFrameErrors", &PnicStatistics::rxFrameErrors},
    {"RxFIFOErrors", &PnicStatistics::rxFifoErrors},
    {"RxMissedErrors", &PnicStatistics::rxMissedErrors},
    {"TxAbortedErrors", &PnicStatistics::txAbortedErrors},
    {"TxFIFOErrors", &PnicStatistics::txFifoErrors},
    {"TxCarrierErrors", &PnicStatistics::txCarrierErrors},
    {"TxHeartbeatErrors", &PnicStatistics::txHeartbeatErrors},
    {"TxWindowErrors", &PnicStatistics::txWindowErrors},
}};
static_assert(sizeof(PnicStatistics) == kCounters.size() * sizeof(std::uint64_t),
              "every counter has a row");

constexpr std::array<FieldProperty<PnicCoalesceParams, bool>, 2> kAdaptiveSwitches = {{
    {"adaptiveRX", &PnicCoalesceParams::adaptiveRx},
    {"adaptiveTX", &PnicCoalesceParams::adaptiveTx},
}};

constexpr std::array<FieldProperty<PnicCoalesceParams, std::uint32_t>, 20> kCoalesceSettings = {{
    {"statsBlockUsecs", &PnicCoalesceParams::statsBlockUsecs},
    {"sampleInterval", &PnicCoalesceParams::sampleInterval},
    {"pktRateLow", &PnicCoalesceParams::pktRateLow},
    {"pktRateHigh", &PnicCoalesceParams::pktRateHigh},
    {"rxUsecs", &PnicCoalesceParams::rxUsecs},
    {"rxFrames", &PnicCoalesceParams::rxFrames},
    {"rxUsecsIrq", &PnicCoalesceParams::rxUsecsIrq},
    {"rxFramesIrq", &PnicCoalesceParams::rxFramesIrq},
    {"txUsecs", &PnicCoalesceParams::txUsecs},
    {"txFrames", &PnicCoalesceParams::txFrames},
    {"txUsecsIrq", &PnicCoalesceParams::txUsecsIrq},
    {"txFramesIrq", &PnicCoalesceParams::txFramesIrq},
    {"rxUsecsLow", &PnicCoalesceParams::rxUsecsLow},
    {"rxFrameLow", &PnicCoalesceParams::rxFrameLow},
    {"txUsecsLow", &PnicCoalesceParams::txUsecsLow},
    {"txFrameLow", &PnicCoalesceParams::txFrameLow},
    {"rxUsecsHigh", &PnicCoalesceParams::rxUsecsHigh},
    {"rxFrameHigh", &PnicCoalesceParams::rxFrameHigh},
    {"txUsecsHigh", &PnicCoalesceParams::txUsecsHigh},
    {"txFrameHigh", &PnicCoalesceParams::txFrameHigh},
}};
// The two switches share the record's first word.
static_assert(sizeof(PnicCoalesceParams) == (kCoalesceSettings.size() + 1) * sizeof(std::uint32_t),
              "every setting has a row");

/// Both identities are named after the driver; ElementName ends in a blank and VersionString
/// repeats it in front of the version.
void setSoftwareIdentity(CmpiInstance& instance, Pnic& pnic, const char* connectingText,
                         std::string PnicDriverInfo::*version) {
  PnicDriverInfo info;
  pnic.GetDriverInfo(info);
  std::string text = info.driver + connectingText;
  instance.setProperty("ElementName", text.c_str());
  text += info.*version;
  instance.setProperty("VersionString", text.c_str());
}

/// Runs a fill operation; where the host library fails the instance keeps what it has.
template <typename Fill>
void fillAsFarAsKnown(Fill fill) {
  try {
    fill();
  } catch (const NodemgrException&) {
  }
}

}  // namespace

void EthernetPortProvider::fillEPStatsInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown([&] {
    PnicStatistics statistics;
    pnic->GetStatistics(statistics);
    std::string name = pnic->GetName();
    for (const char* property : {"Name", "ElementName", "Caption"}) {
      instance.setProperty(property, name.c_str());
    }
    name += " statistics";
    instance.setProperty("Description", name.c_str());
    for (const auto& row : kCounters) instance.setProperty(row.name, statistics.*row.field);
  });
}

void EthernetPortProvider::fillEPCoalesceInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown([&] {
    PnicCoalesceParams params;
    pnic->GetCoalesceParams(params);
    instance.setProperty("ElementName", pnic->GetName().c_str());
    for (const auto& row : kAdaptiveSwitches) {
      instance.setProperty(row.name, CmpiBooleanData(params.*row.field));
    }
    for (const auto& row : kCoalesceSettings) instance.setProperty(row.name, params.*row.field);
  });
}

void EthernetPortProvider::fillEPDriverInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown(
      [&] { setSoftwareIdentity(instance, *pnic, " driver ", &PnicDriverInfo::driverVersion); });
}

void EthernetPortProvider::fillEPFirmwareInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown([&] {
    setSoftwareIdentity(instance, *pnic, " device firmware ", &PnicDriverInfo::firmwareVersion);
  });
}

}  // namespace EthernetProvider
