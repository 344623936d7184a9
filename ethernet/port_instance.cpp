#include <cstdio>
#include <string>
#include <vector>

#include "cmpi/cmpi_array.h"
#include "ethernet/ethernet_port_provider.h"
#include "platform/nodemgr_exception.h"

namespace EthernetProvider {

namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::PciDevice;
using Nodemgr::Network::Pnic;
using Nodemgr::Network::PnicLinkSettings;

constexpr CMPIUint16 kEthernet = 2;  // LinkTechnology
constexpr CMPIUint16 kNoChange = 5;  // RequestedState
constexpr CMPIUint16 kCapability =
    5;  // the capability that the port reports as supported and enabled
constexpr CMPIUint64 kBitsPerMegabit = 1'000'000;

struct PortState {
  CMPIUint16 enabledState;
  CMPIUint16 operationalStatus;
};
constexpr PortState kDisabled = {3, 10};           // Disabled, Stopped
constexpr PortState kEnabled = {2, 2};             // Enabled, OK
constexpr PortState kEnabledButOffline = {6, 10};  // Enabled but Offline, Stopped

/// Asks about the link only when the port is enabled.
PortState portState(Pnic& port) {
  if (!port.IsEnabled()) return kDisabled;
  return port.IsLinkUp() ? kEnabled : kEnabledButOffline;
}

/// Twelve upper-case hexadecimal digits.
std::string macText(const MacAddress& address) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  unsigned char bytes[6] = {};
  address.GetBinaryAddress(bytes);
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

std::string byteText(std::uint8_t value) {
  char text[33];
  std::snprintf(text, sizeof(text), "0x%02x", static_cast<unsigned>(value));
  return text;
}

std::string wordText(std::uint16_t value) {
  char text[33];
  std::snprintf(text, sizeof(text), "0x%04x", static_cast<unsigned>(value));
  return text;
}

CmpiArray numberArray(const std::vector<CMPIUint16>& values) {
  const CmpiArray array(static_cast<CMPICount>(values.size()), CMPI_uint16);
  for (CMPICount i = 0; i < values.size(); ++i) array[i] = values[i];
  return array;
}

CmpiArray textArray(const std::vector<std::string>& values) {
  const CmpiArray array(static_cast<CMPICount>(values.size()), CMPI_string);
  for (CMPICount i = 0; i < values.size(); ++i) array[i] = values[i].c_str();
  return array;
}

/// Each element of the host's list converted; an empty list for an empty list.
template <typename Converted, typename Host>
std::vector<Converted> converted(const std::vector<Host>& list, Converted (*convert)(Host)) {
  std::vector<Converted> result;
  result.reserve(list.size());
  for (const Host& entry : list) result.push_back(convert(entry));
  return result;
}

std::vector<std::string> linkModeTexts(const std::vector<Nodemgr::Network::LinkMode>& modes) {
  std::vector<std::string> texts;
  texts.reserve(modes.size());
  for (const auto& mode : modes) texts.push_back(EthernetPortProvider::convertLinkMode(mode));
  return texts;
}

/// Sets where the port is on PCI and what it is, and the labels of these texts in the same order.
void setPciLocation(CmpiInstance& instance, PciDevice& device) {
  std::vector<std::string> location;
  location.push_back(byteText(device.GetBus()));
  location.push_back(byteText(device.GetSlot()));
  location.push_back(byteText(device.GetFunction()));
  location.push_back(wordText(device.GetVendorId()));
  location.push_back(wordText(device.GetDeviceId()));
  location.push_back(wordText(device.GetSegment()));
  instance.setProperty("OtherIdentifyingInfo", textArray(location));
  instance.setProperty("IdentifyingDescriptions",
                       textArray({"PCI Bus", "PCI Slot", "PCI Function", "PCI Vendor",
                                  "PCI DeviceID", "PCI Segment"}));
}

/// False when the host library cannot answer; any other exception is passed on.
bool readLinkSettings(Pnic& port, PnicLinkSettings& settings) {
  try {
    port.GetLinkSettings(settings);
    return true;
  } catch (const Nodemgr::Lib::NodemgrException&) {
    return false;
  }
}

}  // namespace

// A plain sequence, because the order of the host calls matters, and so does what a half-filled
// instance holds when one of them throws.
void EthernetPortProvider::fillEPInstance(CmpiInstance& instance, Pnic* port) {
  PnicLinkSettings settings;
  if (!readLinkSettings(*port, settings)) return;

  instance.setProperty("Name", port->GetName().c_str());
  instance.setProperty("ElementName", port->GetName().c_str());
  instance.setProperty("PortType", getPortType(settings.portMode, settings.linkMode.first));
  // Deliberate (contract.md#autosense-number).
  instance.setProperty("AutoSense", static_cast<CMPIUint16>(settings.autoNegotiation));
  instance.setProperty("Caption", port->GetName().c_str());
  instance.setProperty("Speed", port->GetLinkSpeed() * kBitsPerMegabit);
  instance.setProperty("LinkTechnology", kEthernet);
  const std::string address = macText(port->GetMacAddress());
  instance.setProperty("PermanentAddress", address.c_str());
  instance.setProperty("NetworkAddresses", textArray({address}));
  instance.setProperty("RequestedState", kNoChange);
  const PortState state = portState(*port);
  instance.setProperty("EnabledState", state.enabledState);
  instance.setProperty("OperationalStatus", numberArray({state.operationalStatus}));
  const auto capability = [](bool present) { return present ? kCapability : CMPIUint16{0}; };
  instance.setProperty("Capabilities", numberArray({capability(port->IsCapabilitySupported())}));
  instance.setProperty("EnabledCapabilities",
                       numberArray({capability(port->IsCapabilityEnabled())}));
  instance.setProperty("FullDuplex", CmpiBooleanData(port->GetDuplex() == Duplex::kFull));
  instance.setProperty("ActiveMaximumTransmissionUnit", static_cast<CMPIUint64>(port->GetMtu()));
  if (PciDevice* device = port->GetPciDevice()) setPciLocation(instance, *device);
  instance.setProperty("SupportedPorts",
                       numberArray(converted(settings.supportedPorts, &convertPortMode)));
  instance.setProperty("SupportedLinkModes", textArray(linkModeTexts(settings.supportedLinkModes)));
  instance.setProperty("AdvertisedLinkModes",
                       textArray(linkModeTexts(settings.advertisedLinkModes)));
  instance.setProperty("AdvertisedAutoNegotiation",
                       CmpiBooleanData(settings.advertisedAutoNegotiation));
  // Deliberate (contract.md#physical-address).
  instance.setProperty("PhysicalAddress", settings.phyAddress);
  instance.setProperty("Transceiver", convertTransceiver(settings.transceiver));
  instance.setProperty("WOLSupported",
                       numberArray(converted(settings.wolSupported, &convertWOLOption)));
  instance.setProperty("WOLOptions",
                       numberArray(converted(settings.wolOptions, &convertWOLOption)));
}

}  // namespace EthernetProvider
