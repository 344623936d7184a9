#include "platform/linux/pci_location.h"

#include <charconv>
#include <cstdint>
#include <system_error>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

/// Removes a hexadecimal number of at most `largest` and the character after it from `text`; `end`
/// is the character that must follow, NUL for the end of the text.
bool takeHex(std::string_view& text, unsigned largest, char end, unsigned& number) {
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (error != std::errc{} || number > largest) return false;
  text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
  if (end == '\0') return text.empty();
  if (text.empty() || text.front() != end) return false;
  text.remove_prefix(1);
  return true;
}

/// The device that carries a virtio device: in sysfs, the entry of the latter on its bus is a link
/// to ".../CARRIER/virtioN".
std::string carrierOf(const std::string& virtioDevice, const std::string& sysRoot) {
  const auto target = linkTarget(sysRoot + "/bus/virtio/devices/" + virtioDevice);
  if (!target) return {};
  return std::string(baseName(std::string_view(*target).substr(0, target->find_last_of('/'))));
}

/// The PCI name of the parent or of its carrier, if it is on PCI.
std::string pciNameOf(const ParentDevice& parent, const std::string& sysRoot) {
  if (parent.bus == "pci") return parent.name;
  return parent.bus == "virtio" ? carrierOf(parent.name, sysRoot) : std::string();
}

}  // namespace

std::optional<PciLocation> parsePciAddress(std::string_view text) {
  unsigned segment = 0;
  unsigned bus = 0;
  unsigned slot = 0;
  unsigned function = 0;
  if (!takeHex(text, 0xffff, ':', segment) || !takeHex(text, 0xff, ':', bus) ||
      !takeHex(text, 0x1f, '.', slot) || !takeHex(text, 7, '\0', function)) {
    return {};
  }
  PciLocation location;
  location.segment = static_cast<std::uint16_t>(segment);
  location.bus = static_cast<std::uint8_t>(bus);
  location.slot = static_cast<std::uint8_t>(slot);
  location.function = static_cast<std::uint8_t>(function);
  return location;
}

std::optional<PciLocation> readPciLocation(const ParentDevice& parent, const std::string& sysRoot) {
  const std::string name = pciNameOf(parent, sysRoot);
  auto location = parsePciAddress(name);
  if (!location) return {};
  const std::string directory = sysRoot + "/bus/pci/devices/" + name;
  location->vendorId = readHex16(directory + "/vendor").value_or(0);
  location->deviceId = readHex16(directory + "/device").value_or(0);
  return location;
}

}  // namespace LinuxHost
