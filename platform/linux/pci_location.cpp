#include "platform/linux/pci_location.h"

#include <charconv>
#include <system_error>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

/// The bus that a device belongs to: "pci", "virtio", "usb" ...
std::string busOf(const std::string& device) {
  const auto subsystem = resolve(device + "/subsystem");
  return subsystem ? std::string(baseName(*subsystem)) : std::string();
}

/// Consumes a hexadecimal number of at most `largest` and the character after it; `end` is the
/// character that must follow, NUL for the end of the text.
bool takeHex(std::string_view& text, unsigned largest, char end, unsigned& number) {
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (error != std::errc{} || number > largest) return false;
  text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
  if (end == '\0') return text.empty();
  if (text.empty() || text.front() != end) return false;
  text.remove_prefix(1);
  return true;
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

std::optional<PciLocation> readPciLocation(const std::string& devicePath) {
  auto device = resolve(devicePath);
  if (device && busOf(*device) == "virtio") device = resolve(*device + "/..");
  if (!device || busOf(*device) != "pci") return {};
  auto location = parsePciAddress(baseName(*device));
  if (!location) return {};
  location->vendorId = readHex16(*device + "/vendor").value_or(0);
  location->deviceId = readHex16(*device + "/device").value_or(0);
  return location;
}

}  // namespace LinuxHost
