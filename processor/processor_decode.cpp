#include "processor/processor_decode.h"

#include <algorithm>
#include <cstdio>

#include "cmpi/ascii.h"

namespace OrvProcessor {

namespace {

constexpr std::size_t kSteppingByte = 3;
constexpr std::size_t kVendorOffset = 48;  // EBX, ECX, EDX of the vendor leaf
constexpr std::size_t kModelNameSize = 48;

/// Registers that hold features, by the offset of their word.
enum Register : std::size_t {
  kFeatureEbx = 64,
  kFeatureEcx = 68,
  kExtendedFeatureEcx = 100,
  kExtendedFeatureEdx = 104,
};

struct Vendor {
  std::string_view text;  ///< the registers' letters in the order of the words
  std::uint16_t code;
};

constexpr Vendor kVendors[] = {
    {"GenuntelineI", kVendorGenuineIntel},
    {"AuthcAMDenti", kVendorAuthenticAmd},
};

struct Feature {
  std::string_view name;
  std::uint16_t vendor;
  Register word;
  unsigned lowBit;
  unsigned highBit;
};

constexpr Feature kFeatures[] = {
    {"VTSupported", kVendorAuthenticAmd, kExtendedFeatureEcx, 2, 2},
    {"VTSupported", kVendorGenuineIntel, kFeatureEcx, 5, 5},
    {"BrandID", kVendorAuthenticAmd, kFeatureEbx, 0, 7},
    {"BrandID", kVendorGenuineIntel, kFeatureEbx, 0, 7},
    {"XDSupported", kVendorAuthenticAmd, kExtendedFeatureEdx, 20, 20},
    {"XDSupported", kVendorGenuineIntel, kExtendedFeatureEdx, 20, 20},
    {"LMSupported", kVendorAuthenticAmd, kExtendedFeatureEdx, 29, 29},
    {"LMSupported", kVendorGenuineIntel, kExtendedFeatureEdx, 29, 29},
};

std::uint32_t wordAt(const CoreIdentification& core, std::size_t offset) {
  std::uint32_t word = 0;
  for (std::size_t byte = 0; byte < sizeof word; ++byte) {
    word |= static_cast<std::uint32_t>(core[offset + byte]) << (8 * byte);
  }
  return word;
}

std::uint32_t bitField(std::uint32_t word, unsigned lowBit, unsigned highBit) {
  const std::uint64_t mask = (std::uint64_t{1} << (highBit - lowBit + 1)) - 1;
  return static_cast<std::uint32_t>((word >> lowBit) & mask);
}

std::string_view upToNul(std::string_view field) { return field.substr(0, field.find('\0')); }

bool beginsWith(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && equalIgnoringCase(text.substr(0, word.size()), word);
}

bool isPrintable(char c) { return c >= ' ' && c <= '~'; }

}  // namespace

std::uint16_t vendorCode(const CoreIdentification& core) {
  for (const Vendor& vendor : kVendors) {
    if (std::equal(vendor.text.begin(), vendor.text.end(), core.begin() + kVendorOffset)) {
      return vendor.code;
    }
  }
  return kVendorOther;
}

std::uint32_t featureValue(const CoreIdentification& core, std::uint16_t vendor,
                           std::string_view feature) {
  for (const Feature& row : kFeatures) {
    if (row.name != feature || row.vendor != vendor) continue;
    return bitField(wordAt(core, row.word), row.lowBit, row.highBit);
  }
  return 0;
}

void decodeIdentification(const CoreIdentification& core, ProcessorRecord& record) {
  record.stepping = std::to_string(core[kSteppingByte]);
  record.vendor = vendorCode(core);
  record.brandId = static_cast<std::uint8_t>(featureValue(core, record.vendor, "BrandID"));
  record.noExecute = featureValue(core, record.vendor, "XDSupported") != 0;
  record.virtualization = featureValue(core, record.vendor, "VTSupported") != 0;
  record.longMode = featureValue(core, record.vendor, "LMSupported") != 0;
}

std::string cleanModelName(std::string_view field) {
  std::string name(upToNul(field.substr(0, kModelNameSize)));
  for (char& c : name) {
    if (!isPrintable(c)) c = ' ';
  }
  return name;
}

void decodePowerPolicy(std::string_view policy, ProcessorRecord& record) {
  const std::string_view text = upToNul(policy);
  record.powerControlSupported = !beginsWith(text, "off");
  record.powerControlEnabled = beginsWith(text, "dynamic");
}

std::string brandText(std::uint8_t brandId) {
  char text[16];
  // Deliberate (contract.md#brand-spaces).
  std::snprintf(text, sizeof text, "0x%4x", static_cast<unsigned>(brandId));
  return text;
}

}  // namespace OrvProcessor
