// Whole requests: the bytes become a simulated host and a few requests to the providers through the
// C interface. Paths, keys, their types, property lists and filters are a client's, so anything may
// stand in them.
//
// A request never ends the process, returns nothing beside a failure, and leaves nothing that an
// object manager would die of: the embedded broker reports that.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "broker/mof_reader.h"
#include "broker/testing/test_broker.h"

#define ORV_FACTORIES(factory)                                                                   \
  factory(EthernetPortProvider_Create_InstanceMI)                                                \
      factory(EthernetPortProvider_Create_AssociationMI)                                         \
          factory(KernelIPProtocolEndpointProvider_Create_InstanceMI)                            \
              factory(Orvane_CIMHeartbeat_Create_IndicationMI)                                   \
                  factory(Orvane_LatchedHealthState_Create_InstanceMI)                           \
                      factory(Orvane_LatchedHealthAssociation_Create_AssociationMI)              \
                          factory(Orvane_KernelIPChangedIndication_Create_IndicationMI) factory( \
                              HypervisorSoftwareIdentity_Create_InstanceMI)                      \
                              factory(OrvaneProcessorProvider_Create_InstanceMI) factory(        \
                                  OrvaneInstalledSoftwareIdentity_Create_InstanceMI)             \
                                  factory(OrvaneInstalledSoftwareIdentity_Create_AssociationMI)

#define ORV_DECLARE(name) extern "C" void* name(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
ORV_FACTORIES(ORV_DECLARE)

namespace {

using nlohmann::json;
using namespace orv::broker;

/// Takes the input apart; zeros follow its end.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

  std::uint8_t byte() { return at_ == end_ ? 0 : *at_++; }
  bool flag() { return byte() % 2 == 1; }
  std::size_t below(std::size_t limit) { return (byte() << 8 | byte()) % limit; }
  std::uint64_t number() {
    std::uint64_t number = 0;
    for (int i = byte() % 9; i > 0; --i) number = number << 8 | byte();
    return number;
  }
  /// Short as a rule, longer than any buffer now and then.
  std::string text() {
    const std::uint8_t kind = byte();
    if (kind == 255) return std::string(below(6000), static_cast<char>('a' + byte() % 26));
    std::string text;
    for (int i = kind % 24; i > 0; --i) text += static_cast<char>(byte());
    return text;
  }
  template <std::size_t size>
  std::string oneOf(const char* const (&words)[size]) {
    const std::size_t index = below(size + 1);
    return index == size ? text() : words[index];
  }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

constexpr const char* kPorts[] = {"nic0", "nic1", "eth0:1", "", "a\"b", "nic0,X=1", "x.y"};
constexpr const char* kAccessors[] = {"GetName",         "GetPciDevice",  "GetDuplex",
                                      "IsLinkUp",        "IsEnabled",     "GetMtu",
                                      "GetLinkSpeed",    "GetMacAddress", "IsCapabilityEnabled",
                                      "GetLinkSettings", "GetStatistics", "GetCoalesceParams",
                                      "GetDriverInfo",   "GetSegment",    "GetVendorId"};
constexpr const char* kClasses[] = {"Orvane_EthernetPort",
                                    "Orvane_EPStatisticalInformation",
                                    "Orvane_EPCoalesceSettingData",
                                    "Orvane_EPDriverSoftwareIdentity",
                                    "Orvane_EPFirmwareSoftwareIdentity",
                                    "Orvane_EPDriverElementSoftwareIdentity",
                                    "Orvane_EPFirmwareElementSoftwareIdentity",
                                    "Orvane_EPStatistics",
                                    "Orvane_EPCoalesceElementSettingData",
                                    "Orvane_KernelIPv4ProtocolEndpoint",
                                    "Orvane_KernelIPv6ProtocolEndpoint",
                                    "CIM_IPProtocolEndpoint",
                                    "Orvane_Processor",
                                    "Orvane_HypervisorSoftwareIdentity",
                                    "Orvane_InstalledSoftwareIdentity",
                                    "Orvane_LatchedHealthState",
                                    "Orvane_RollupHealthState",
                                    "Orvane_LatchedHealthAssociation",
                                    "OMC_UnitaryComputerSystem",
                                    "CIM_ManagedElement",
                                    "CIM_EthernetPort",
                                    "ORVANE_ETHERNETPORT"};
constexpr const char* kKeys[] = {"DeviceID",          "SystemName",  "SystemCreationClassName",
                                 "CreationClassName", "InstanceID",  "Name",
                                 "EventId",           "Antecedent",  "Dependent",
                                 "Element",           "Stats",       "System",
                                 "ManagedElement",    "SettingData", "deviceid",
                                 "InstalledSoftware"};
constexpr const char* kKeyTexts[] = {"nic0",
                                     "nic1",
                                     "cpu-0",
                                     "cpu-99999999999",
                                     "hk0",
                                     "OMC_UnitaryComputerSystem",
                                     "host-7",
                                     "Orvane:Orvane_EPStatisticalInformation:nic0",
                                     "Orvane:Orvane_EPDriverSoftwareIdentity:nic1",
                                     "Orvane Rollup Health State",
                                     "Orvane Ondi",
                                     "Orvane Ondi Alternate Boot Bank"};

json fault(Bytes& bytes) { return {{"throw", bytes.flag() ? "nodemgr" : "other"}}; }

json port(Bytes& bytes) {
  json port = {{"name", bytes.oneOf(kPorts)},
               {"mtu", bytes.byte()},
               {"linkUp", bytes.flag()},
               {"linkSpeed", bytes.number() % 0x100000000},
               {"duplex", bytes.byte() % 3}};
  for (const char* group : {"linkSettings", "statistics", "coalesce", "driverInfo"}) {
    if (bytes.byte() % 4 == 0) port[group] = fault(bytes);
  }
  if (bytes.flag()) port["pci"] = json::object();
  for (int i = bytes.byte() % 4; i > 1; --i) {
    port["faults"][kAccessors[bytes.below(std::size(kAccessors))]] = fault(bytes)["throw"];
  }
  return port;
}

json interface(Bytes& bytes) {
  json interface = {{"name", bytes.text()}};
  if (bytes.flag()) interface["ipv4"] = {{"address", "10.0.0.7"}, {"netmask", "255.255.0.0"}};
  if (bytes.flag())
    interface["ipv6"] = {{{"address", bytes.text()}, {"prefixLength", bytes.byte()}}};
  return interface;
}

json hostOf(Bytes& bytes) {
  json host = {{"systemName", bytes.text()}, {"ports", json::array()}};
  for (int i = bytes.byte() % 4; i > 0; --i) host["ports"].push_back(port(bytes));
  if (bytes.byte() % 16 == 15) host["ports"] = fault(bytes);
  for (int i = bytes.byte() % 3; i > 0; --i) host["interfaces"].push_back(interface(bytes));
  for (int i = bytes.byte() % 3; i > 0; --i) {
    host["processors"]["packages"].push_back(
        {{"cores", json::array({{{"running", bytes.flag()}, {"stepping", bytes.byte()}}})},
         {"coreCount", bytes.byte()}});
  }
  if (bytes.flag()) host["processors"]["modelName"] = bytes.text();
  if (bytes.byte() % 8 == 7)
    host["hsi"] = {{"failNodes", {239 + bytes.byte() % 6, 600 + bytes.byte() % 9}}};
  host["version"] = {
      {"buildNumber", bytes.byte()}, {"releaseDate", bytes.text()}, {"status", bytes.byte() % 2}};
  return host;
}

ObjectPath pathOf(Bytes& bytes, int depth);

Value keyValue(Bytes& bytes, int depth) {
  switch (bytes.byte() % 12) {
    case 0:
      return Value::ofUnsigned(CMPI_uint64, bytes.number());
    case 1:
      return Value::ofSigned(CMPI_sint64, static_cast<std::int64_t>(bytes.number()));
    case 2:
      return Value::ofBoolean(bytes.flag());
    case 3:
      return Value::ofNull(CMPI_string);
    case 4:
      return depth > 0 ? Value::ofReference(pathOf(bytes, depth - 1)) : Value::ofString("");
    default:
      return Value::ofString(bytes.oneOf(kKeyTexts));
  }
}

ObjectPath pathOf(Bytes& bytes, int depth) {
  ObjectPath path;
  path.nameSpace = bytes.byte() == 7 ? bytes.text() : "root/cimv2";
  path.className = bytes.oneOf(kClasses);
  for (int i = bytes.byte() % 6; i > 0; --i) {
    Key key{bytes.oneOf(kKeys), keyValue(bytes, depth)};
    // A key given twice is refused, with a report, before any provider is asked.
    if (path.key(key.name) == nullptr) path.keys.push_back(std::move(key));
  }
  return path;
}

std::optional<std::string> filter(Bytes& bytes, const std::string& word) {
  if (bytes.byte() % 4 != 0) return std::nullopt;
  return bytes.flag() ? word : bytes.text();
}

Request requestOf(Bytes& bytes) {
  constexpr Operation kOperations[] = {Operation::kEnumerateInstanceNames,
                                       Operation::kEnumerateInstances,
                                       Operation::kGetInstance,
                                       Operation::kCreateInstance,
                                       Operation::kModifyInstance,
                                       Operation::kDeleteInstance,
                                       Operation::kAssociators,
                                       Operation::kAssociatorNames,
                                       Operation::kReferences,
                                       Operation::kReferenceNames};
  Request request;
  request.operation = kOperations[bytes.below(std::size(kOperations))];
  request.path = pathOf(bytes, 1);
  if (bytes.flag()) {
    request.properties.emplace();
    for (int i = bytes.byte() % 4; i > 0; --i) request.properties->push_back(bytes.oneOf(kKeys));
  }
  request.filter = {filter(bytes, bytes.oneOf(kClasses)), filter(bytes, bytes.oneOf(kClasses)),
                    filter(bytes, bytes.oneOf(kKeys)), filter(bytes, bytes.oneOf(kKeys))};
  if (request.operation == Operation::kCreateInstance ||
      request.operation == Operation::kModifyInstance) {
    request.instance.emplace();
    request.instance->path = request.path;
  }
  return request;
}

/// The host file of this process, read anew by every request; removed at the end.
class HostFile {
 public:
  HostFile() : path_("/tmp/orv-requests-fuzzer-" + std::to_string(getpid()) + ".json") {
    setenv("ORV_HOST_FILE", path_.c_str(), 1);
  }
  ~HostFile() { std::remove(path_.c_str()); }
  HostFile(const HostFile&) = delete;
  HostFile& operator=(const HostFile&) = delete;

  /// In one step: a background thread may read at any time.
  void write(const json& host) const {
    const std::string next = path_ + ".next";
    std::ofstream(next) << host.dump(-1, ' ', false, json::error_handler_t::replace);
    std::rename(next.c_str(), path_.c_str());
  }

 private:
  std::string path_;
};

/// Never destroyed: its providers have threads that run until the process ends.
TestBroker& broker() {
  static TestBroker& instance = [&]() -> TestBroker& {
    Broker::Options options;
    options.namespaces["root/cimv2"] =
        std::make_shared<ClassRepository>(loadSchema(ORV_SOURCE_DIR "/schema"));
    options.registration = readRegistrationFile(ORV_SOURCE_DIR "/schema/orvprovider.reg");
#define ORV_LINK(name) options.linkedFactories[#name] = reinterpret_cast<void*>(&name);
    ORV_FACTORIES(ORV_LINK)
    return *new TestBroker(std::move(options));
  }();
  return instance;
}

void require(bool condition, const Request& request, const std::string& what) {
  if (condition) return;
  std::cerr << "operation " << static_cast<int>(request.operation) << " on "
            << request.path.toText() << ": " << what << "\n";
  std::abort();
}

void ask(const Request& request) {
  const TestResponse response = broker().request(request);
  for (const Report& report : response.reports) require(false, request, report.toText());
  require(response.ok() || (response.instances.empty() && response.paths.empty()), request,
          "objects beside a failure");
  require(response.rc >= CMPI_RC_OK && response.rc <= CMPI_RC_ERR_METHOD_NOT_FOUND, request,
          "status " + statusName(response.rc));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int LLVMFuzzerTestOneInput(
    const std::uint8_t* data, std::size_t size) {
  static const HostFile hostFile;
  Bytes bytes(data, size);
  hostFile.write(hostOf(bytes));
  for (int i = 1 + bytes.byte() % 4; i > 0; --i) ask(requestOf(bytes));
  return 0;
}
