#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/system_info.h"

namespace OrvProcessor {

/// One processor package as it is published.
struct ProcessorRecord {
  std::string name;  ///< "cpu-0" for the first package of the kernel's list
  std::uint16_t vendor = 0;
  std::uint32_t coreCount = 0;
  std::string modelName;  ///< printable, at most 48 characters
  std::string stepping;   ///< decimal
  std::uint8_t brandId = 0;
  bool hardwareThread = false;
  bool virtualization = false;
  bool noExecute = false;
  bool longMode = false;  ///< 64-bit capable
  bool powerControlSupported = false;
  bool powerControlEnabled = false;
  std::uint16_t status = 0;
};

/// Values of `status`, as CIM counts them.
constexpr std::uint16_t kCpuEnabled = 1;
constexpr std::uint16_t kCpuIdle = 4;

/// Values of `vendor`.
constexpr std::uint16_t kVendorOther = 1;
constexpr std::uint16_t kVendorGenuineIntel = 2;
constexpr std::uint16_t kVendorAuthenticAmd = 3;

/// The vendor code for the twelve letters in the vendor registers.
std::uint16_t vendorCode(const HsiCore& core);

/// The bits of a feature ("VTSupported", "BrandID", "XDSupported", "LMSupported") as a number; 0
/// when processors of the vendor are not known to have it.
std::uint32_t featureValue(const HsiCore& core, std::uint16_t vendor, std::string_view feature);

/// Sets vendor, stepping, brand and features of a package from the identification of its first
/// core.
void decodeIdentification(const HsiCore& core, ProcessorRecord& record);

/// The text of a field up to its NUL, with every character that does not print replaced by a space.
/// Only the first 48 characters of the field are used.
std::string cleanModelName(std::string_view field);

/// Sets the two power control flags from the beginning of `policy`, letters in either case: "off"
/// means that there is no power control, "dynamic" that it is enabled, anything else that it is
/// disabled. `policy` ends at its first NUL.
void decodePowerPolicy(std::string_view policy, ProcessorRecord& record);

/// A brand as it is published: hexadecimal, padded with spaces to four digits, "0x   5".
std::string brandText(std::uint8_t brandId);

}  // namespace OrvProcessor
