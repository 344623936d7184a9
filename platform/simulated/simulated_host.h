#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/pnic.h"
#include "platform/system_info.h"

/// The simulated host as plain values: what a host file says, checked and with every default filled
/// in. Nothing here knows JSON, and nothing changes once it has been parsed, so any number of
/// threads may read one host. The members are documented in docs/simulated-host.md.
namespace simulated {

/// What a host call throws instead of answering.
enum class Fault {
  kNodemgr,  ///< Nodemgr::Lib::NodemgrException
  kOther     ///< std::runtime_error
};

/// A value, or the fault that stands in its place in the file.
template <typename T>
using OrFault = std::variant<T, Fault>;

struct SimulatedPci {
  std::uint16_t segment = 0;
  std::uint8_t bus = 0;
  std::uint8_t slot = 0;
  std::uint8_t function = 0;
  std::uint16_t vendorId = 0;
  std::uint16_t deviceId = 0;
};

/// Operations of a port and of its PCI descriptor, in the order of kAccessorNames.
enum class Accessor {
  kGetName,
  kGetPciDevice,
  kGetDuplex,
  kIsLinkUp,
  kIsEnabled,
  kGetLinkSpeed,
  kGetMacAddress,
  kIsCapabilityEnabled,
  kIsCapabilitySupported,
  kGetMtu,
  kGetLinkSettings,
  kGetStatistics,
  kGetCoalesceParams,
  kGetDriverInfo,
  kGetSegment,
  kGetBus,
  kGetSlot,
  kGetFunction,
  kGetVendorId,
  kGetDeviceId
};

/// As `faults` spells them.
constexpr std::array<const char*, 20> kAccessorNames = {"GetName",
                                                        "GetPciDevice",
                                                        "GetDuplex",
                                                        "IsLinkUp",
                                                        "IsEnabled",
                                                        "GetLinkSpeed",
                                                        "GetMacAddress",
                                                        "IsCapabilityEnabled",
                                                        "IsCapabilitySupported",
                                                        "GetMtu",
                                                        "GetLinkSettings",
                                                        "GetStatistics",
                                                        "GetCoalesceParams",
                                                        "GetDriverInfo",
                                                        "GetSegment",
                                                        "GetBus",
                                                        "GetSlot",
                                                        "GetFunction",
                                                        "GetVendorId",
                                                        "GetDeviceId"};
static_assert(kAccessorNames.size() == static_cast<std::size_t>(Accessor::kGetDeviceId) + 1);

/// One fault or none for each accessor.
using AccessorFaults = std::array<std::optional<Fault>, kAccessorNames.size()>;

struct SimulatedPort {
  std::string name;
  Nodemgr::Network::Duplex duplex = Nodemgr::Network::Duplex::kAuto;
  bool linkUp = false;
  bool enabled = false;
  std::uint32_t linkSpeed = 0;  ///< Mb/s
  Nodemgr::Network::MacAddress mac;
  bool capabilitySupported = false;
  bool capabilityEnabled = false;
  std::uint32_t mtu = 0;  ///< bytes
  std::optional<SimulatedPci> pci;
  OrFault<Nodemgr::Network::PnicLinkSettings> linkSettings;
  OrFault<Nodemgr::Network::PnicStatistics> statistics;
  OrFault<Nodemgr::Network::PnicCoalesceParams> coalesce;
  OrFault<Nodemgr::Network::PnicDriverInfo> driverInfo;
  AccessorFaults faults;
};

/// Four bytes in network order.
using Ipv4Bytes = std::array<unsigned char, 4>;

struct SimulatedIpv4 {
  Ipv4Bytes address{};
  std::optional<Ipv4Bytes> netmask = Ipv4Bytes{};  ///< none: reading it fails
};

struct SimulatedIpv6 {
  std::string id;
  std::string address;
  std::uint32_t prefixLength = 0;
};

struct SimulatedInterface {
  std::string name;
  std::optional<SimulatedIpv4> ipv4;  ///< none: reading it fails
  std::vector<SimulatedIpv6> ipv6;
};

struct SimulatedCore {
  bool running = true;
  std::uint8_t stepping = 0;
  std::string vendor = "GenuineIntel";  ///< always twelve bytes
  std::uint32_t featureEbx = 0;
  std::uint32_t featureEcx = 0;
  std::uint32_t extendedEcx = 0;
  std::uint32_t extendedEdx = 0;
};

struct SimulatedPackage {
  std::vector<SimulatedCore> cores;
  std::uint32_t coreCount = 0;  ///< what the package claims; need not be the number of `cores`
};

struct SimulatedProcessors {
  std::string powerPolicy = "dynamic";
  std::uint32_t hyperThreading = 0;
  std::string modelName;
  std::vector<SimulatedPackage> packages;
};

/// Instances of one node whose read fails. A node has either names or numbers.
struct FailingInstances {
  std::vector<std::string> names;
  std::vector<std::int32_t> numbers;
};

/// One row for each node that has instances to read.
struct InstanceNode {
  HSI_Node node;
  const char* text;  ///< the node number as `failInstances` spells it
  bool named;        ///< instances are names; otherwise numbers
};

constexpr std::array<InstanceNode, 8> kInstanceNodes = {{{kHsiInterfaceIpv4, "239", true},
                                                         {kHsiInterfaceNetmask, "240", true},
                                                         {kHsiInterfaceIpv6List, "243", true},
                                                         {kHsiInterfaceIpv6, "244", true},
                                                         {kHsiCore, "607", false},
                                                         {kHsiPackage, "608", false},
                                                         {kHsiCoreState, "800", false},
                                                         {kHsiCoreDetail, "801", false}}};

struct SimulatedHsi {
  bool signatureOk = true;
  std::vector<std::uint32_t> failNodes;
  std::array<FailingInstances, kInstanceNodes.size()> failInstances;  ///< row by row as above
};

struct SimulatedVersion {
  std::int32_t status = 0;  ///< not 0: the version call fails with it
  std::int32_t errnoValue = 5;
  std::string text = "simulated failure";
  std::string productName = "Orvane Ondi";
  std::string version = "5.1.0";
  std::string edition = "simulated";
  std::string releaseDate;
  std::int32_t buildNumber = 0;
};

struct SimulatedHost {
  std::string systemName = "simulated-host";
  std::string systemClassName = "OMC_UnitaryComputerSystem";
  OrFault<std::vector<SimulatedPort>> ports;
  std::vector<SimulatedInterface> interfaces;
  SimulatedProcessors processors;
  SimulatedHsi hsi;
  SimulatedVersion version;
  bool hypervisor = true;
};

}  // namespace simulated
