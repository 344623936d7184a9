#include "processor/processor_decode.h"

#include <cstdio>

#include "cmpi/ascii.h"

namespace OrvProcessor {

namespace {

struct Vendor {
  std::string_view text;  ///< the letters as EBX, ECX and EDX hold them
  std::uint16_t code;
};

constexpr Vendor kVendors[] = {
    {"GenuntelineI", kVendorGenuineIntel},
    {"AuthcAMDenti", kVendorAuthenticAmd},
};

struct Feature {
  std::string_view name;
  std::uint16_t vendor;
  HsiCpuRegisters HsiCore::*leaf;
  std::uint32_t HsiCpuRegisters::*word;
  unsigned lowBit;
  unsigned highBit;
};

constexpr auto kFirst = &HsiCore::features;
constexpr auto kExtended = &HsiCore::extended;
constexpr auto kEbx = &HsiCpuRegisters::ebx;
constexpr auto kEcx = &HsiCpuRegisters::ecx;
constexpr auto kEdx = &HsiCpuRegisters::edx;

constexpr Feature kFeatures[] = {
    {"VTSupported", kVendorAuthenticAmd, kExtended, kEcx, 2, 2},
    {"VTSupported", kVendorGenuineIntel, kFirst, kEcx, 5, 5},
    {"BrandID", kVendorAuthenticAmd, kFirst, kEbx, 0, 7},
    {"BrandID", kVendorGenuineIntel, kFirst, kEbx, 0, 7},
    {"XDSupported", kVendorAuthenticAmd, kExtended, kEdx, 20, 20},
    {"XDSupported", kVendorGenuineIntel, kExtended, kEdx, 20, 20},
    {"LMSupported", kVendorAuthenticAmd, kExtended, kEdx, 29, 29},
    {"LMSupported", kVendorGenuineIntel, kExtended, kEdx, 29, 29},
};

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

std::uint16_t vendorCode(const HsiCore& core) {
  const auto* registers = reinterpret_cast<const char*>(&core.vendor);
  const std::string_view letters(registers + sizeof core.vendor.eax, 12);
  for (const Vendor& vendor : kVendors) {
    if (vendor.text == letters) return vendor.code;
  }
  return kVendorOther;
}

std::uint32_t featureValue(const HsiCore& core, std::uint16_t vendor, std::string_view feature) {
  for (const Feature& row : kFeatures) {
    if (row.name != feature || row.vendor != vendor) continue;
    return bitField(core.*row.leaf.*row.word, row.lowBit, row.highBit);
  }
  return 0;
}

void decodeIdentification(const HsiCore& core, ProcessorRecord& record) {
  record.stepping = std::to_string(core.stepping);
  record.vendor = vendorCode(core);
  record.brandId = static_cast<std::uint8_t>(featureValue(core, record.vendor, "BrandID"));
  record.noExecute = featureValue(core, record.vendor, "XDSupported") != 0;
  record.virtualization = featureValue(core, record.vendor, "VTSupported") != 0;
  record.longMode = featureValue(core, record.vendor, "LMSupported") != 0;
}

std::string cleanModelName(std::string_view field) {
  std::string name(upToNul(field.substr(0, std::tuple_size_v<HsiCpuModel>)));
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
