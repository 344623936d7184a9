#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "platform/pnic.h"
#include "platform/simulated/simulated_hardware.h"
#include "platform/system_info.h"

/// The simulated host as plain values: what a host file says, checked and with every default filled
/// in. Nothing here depends on JSON, and nothing changes once it has been parsed, so any number of
/// threads may read one host. The members are documented in docs/simulated-host.md.
namespace simulated {

using platform::Fact;

/// What a host call throws instead of answering.
enum class Fault {
  kNodemgr,  ///< Nodemgr::Lib::NodemgrException
  kOther     ///< std::runtime_error
};

/// A value, or the fault that the file has in its place.
template <typename T>
using OrFault = std::variant<T, Fault>;

/// The operations of a port and of its PCI device that `faults` may name.
inline std::vector<std::string> accessorNames() {
  std::vector<std::string> names = {
      "GetName",   "GetPciDevice", "GetDuplex",     "IsLinkUp",
      "IsEnabled", "GetLinkSpeed", "GetMacAddress", "IsCapabilityEnabled",
      "GetMtu",    "GetSegment",   "GetBus",        "IsCapabilitySupported",
      "GetSlot",   "GetFunction",  "GetVendorId",   "GetDeviceId"};
  std::apply([&](const auto&... call) { (names.push_back(call.name), ...); },
             Nodemgr::Network::kRecordCalls);
  return names;
}

/// What accessors throw, by the names of the accessors.
using AccessorFaults = std::map<std::string, Fault, std::less<>>;

/// One record of a port, or a fault in its place.
template <typename Record>
struct PortRecord {
  OrFault<Record> valueOrFault;
};

/// One of each record that ports give.
template <typename Calls>
struct PortRecords;
template <typename... Record>
struct PortRecords<const std::tuple<Nodemgr::Network::RecordCall<Record>...>>
    : PortRecord<Record>... {
  /// Their facts as facts of `Port`, which derives from this. The meaning of each is the name of
  /// the call that it answers.
  template <typename Port>
  static constexpr auto factsOf() {
    using Nodemgr::Network::kRecordCallOf;
    return std::tuple{Fact<Port, OrFault<Record>>{kRecordCallOf<Record>.member,
                                                  &PortRecord<Record>::valueOrFault,
                                                  kRecordCallOf<Record>.name}...};
  }
};

struct SimulatedPort : PortRecords<decltype(Nodemgr::Network::kRecordCalls)> {
  std::string name;
  Nodemgr::Network::Duplex duplex = Nodemgr::Network::Duplex::kAuto;
  bool linkUp = false;
  bool enabled = false;
  std::uint32_t linkSpeed = 0;
  Nodemgr::Network::MacAddress mac;
  bool capabilitySupported = false;
  bool capabilityEnabled = false;
  std::uint32_t mtu = 0;
  std::optional<Nodemgr::Network::PciLocation> pci;
  AccessorFaults faults;

  template <typename Record>
  const OrFault<Record>& record() const {
    return PortRecord<Record>::valueOrFault;
  }

  static constexpr auto facts() {
    std::tuple own{
        Fact{"name", &SimulatedPort::name},
        Fact{"duplex", &SimulatedPort::duplex, "0 automatic, 1 full, 2 half"},
        Fact{"linkUp", &SimulatedPort::linkUp},
        Fact{"enabled", &SimulatedPort::enabled},
        Fact{"linkSpeed", &SimulatedPort::linkSpeed, "Mb/s"},
        Fact{"mac", &SimulatedPort::mac, "digits in upper or lower case"},
        Fact{"capabilitySupported", &SimulatedPort::capabilitySupported},
        Fact{"capabilityEnabled", &SimulatedPort::capabilityEnabled},
        Fact{"mtu", &SimulatedPort::mtu, "bytes"},
        Fact{"pci", &SimulatedPort::pci, "`null`: the port is not on PCI"},
        Fact{"faults", &SimulatedPort::faults, "maps accessors to `\"nodemgr\"` or `\"other\"`"},
    };
    return std::tuple_cat(own, factsOf<SimulatedPort>());
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedPort>());

struct SimulatedIpv4 {
  HsiIpv4Address address{};
  std::optional<HsiIpv4Address> netmask = HsiIpv4Address{};

  static constexpr auto facts() {
    return std::tuple{
        Fact{"address", &SimulatedIpv4::address},
        Fact{"netmask", &SimulatedIpv4::netmask, "`null`: reading it (node 240) fails"},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedIpv4>());

struct SimulatedIpv6 {
  std::string id;
  std::string address;
  std::uint32_t prefixLength = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &SimulatedIpv6::id,
             "identifier that node 243 lists and node 244 takes; by default the text of `address`"},
        Fact{"address", &SimulatedIpv6::address, "not examined; cut to 48 bytes"},
        Fact{"prefixLength", &SimulatedIpv6::prefixLength},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedIpv6>());

struct SimulatedInterface {
  std::string name;
  std::optional<SimulatedIpv4> ipv4;
  std::vector<SimulatedIpv6> ipv6;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"name", &SimulatedInterface::name},
        Fact{"ipv4", &SimulatedInterface::ipv4, "`null`: reading the address (node 239) fails"},
        Fact{"ipv6", &SimulatedInterface::ipv6},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedInterface>());

struct SimulatedCore {
  bool running = true;
  std::uint8_t stepping = 0;
  std::string vendor = "GenuineIntel";
  std::uint32_t featureEbx = 0;
  std::uint32_t featureEcx = 0;
  std::uint32_t extendedEcx = 0;
  std::uint32_t extendedEdx = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"running", &SimulatedCore::running},
        Fact{"stepping", &SimulatedCore::stepping},
        Fact{"vendor", &SimulatedCore::vendor, "twelve characters"},
        Fact{"featureEbx", &SimulatedCore::featureEbx, "feature leaf"},
        Fact{"featureEcx", &SimulatedCore::featureEcx, "feature leaf"},
        Fact{"extendedEcx", &SimulatedCore::extendedEcx, "extended feature leaf"},
        Fact{"extendedEdx", &SimulatedCore::extendedEdx, "extended feature leaf"},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedCore>());

struct SimulatedPackage {
  std::vector<SimulatedCore> cores;
  std::uint32_t coreCount = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"cores", &SimulatedPackage::cores, "numbered from 0 through all packages in order"},
        Fact{"coreCount", &SimulatedPackage::coreCount,
             "number that the package reports; by default that of `cores`"},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedPackage>());

struct SimulatedProcessors {
  std::string powerPolicy = "dynamic";
  std::uint32_t hyperThreading = 0;
  std::string modelName;
  std::vector<SimulatedPackage> packages;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"powerPolicy", &SimulatedProcessors::powerPolicy},
        Fact{"hyperThreading", &SimulatedProcessors::hyperThreading},
        Fact{"modelName", &SimulatedProcessors::modelName, "cut to 48 bytes"},
        Fact{"packages", &SimulatedProcessors::packages},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedProcessors>());

/// A node that has instances to read.
struct InstanceNode {
  HSI_Node node;
  bool named;  ///< whether instances are names, rather than numbers
};

constexpr InstanceNode kInstanceNodes[] = {{kHsiInterfaceIpv4, true},
                                           {kHsiInterfaceNetmask, true},
                                           {kHsiInterfaceIpv6List, true},
                                           {kHsiInterfaceIpv6, true},
                                           {kHsiCore, false},
                                           {kHsiPackage, false},
                                           {kHsiCoreState, false},
                                           {kHsiCoreDetail, false}};

/// The instances of one node that cannot be read. A node has either names or numbers.
struct FailingInstances {
  std::vector<std::string> names;
  std::vector<std::int32_t> numbers;
};

/// The failing instances, by node number.
using InstanceFaults = std::map<std::uint32_t, FailingInstances>;

struct SimulatedHsi {
  bool signatureOk = true;
  std::vector<std::uint32_t> failNodes;
  InstanceFaults failInstances;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"signatureOk", &SimulatedHsi::signatureOk, "`false` fails every `HSI_CheckSig`"},
        Fact{"failNodes", &SimulatedHsi::failNodes,
             "node numbers; every read and every list of them fails with 1"},
        Fact{"failInstances", &SimulatedHsi::failInstances,
             "maps node numbers, as decimal text, to arrays of instances whose read fails with 1"},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedHsi>());

struct SimulatedVersion {
  std::int32_t status = 0;
  std::int32_t errnoValue = 5;
  std::string text = "simulated failure";
  std::string productName = "Orvane Ondi";
  std::string version = "5.1.0";
  std::string edition = "simulated";
  std::string releaseDate;
  std::int32_t buildNumber = 0;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"status", &SimulatedVersion::status, "if not 0, the version call fails with it"},
        Fact{"errno", &SimulatedVersion::errnoValue, "errno value of the status"},
        Fact{"text", &SimulatedVersion::text, "text of the status"},
        Fact{"productName", &SimulatedVersion::productName},
        Fact{"version", &SimulatedVersion::version},
        Fact{"edition", &SimulatedVersion::edition},
        Fact{"releaseDate", &SimulatedVersion::releaseDate, "in the form `\"Oct 4 2014\"`"},
        Fact{"buildNumber", &SimulatedVersion::buildNumber},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedVersion>());

struct SimulatedHost {
  std::string systemName = "simulated-host";
  std::string systemClassName = "OMC_UnitaryComputerSystem";
  OrFault<std::vector<SimulatedPort>> ports;
  std::vector<SimulatedInterface> interfaces;
  SimulatedProcessors processors;
  SimulatedHsi hsi;
  SimulatedVersion version;
  bool hypervisor = true;
  OrFault<SimulatedHardware> hardware;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"systemName", &SimulatedHost::systemName, "`OMC::getComputerSystemName`"},
        Fact{"systemClassName", &SimulatedHost::systemClassName,
             "`OMC::getComputerSystemClassName`"},
        Fact{"ports", &SimulatedHost::ports,
             "physical ports, in this order; `GetPnics` and `GetPnicByName` throw the fault"},
        Fact{"interfaces", &SimulatedHost::interfaces, "kernel interfaces, in this order"},
        Fact{"processors", &SimulatedHost::processors, "processor packages and cores"},
        Fact{"hsi", &SimulatedHost::hsi, "faults of the kernel information interface"},
        Fact{"version", &SimulatedHost::version, "the running image"},
        Fact{"hypervisor", &SimulatedHost::hypervisor, "`HostType_OSIsHYK`"},
        Fact{"hardware", &SimulatedHost::hardware,
             "computer system and hardware; every call of `platform/hardware.h` throws the fault"},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedHost>());

}  // namespace simulated
