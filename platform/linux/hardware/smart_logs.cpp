#include "platform/linux/hardware/smart_logs.h"

#include <algorithm>
#include <limits>

#include "platform/linux/hardware/kernel_texts.h"

namespace LinuxHost {
namespace {

std::uint8_t byteAt(std::string_view bytes, std::size_t offset) {
  return offset < bytes.size() ? static_cast<std::uint8_t>(bytes[offset]) : 0;
}

// ---- NVMe ----

constexpr std::size_t kNvmeLogSize = 512;
constexpr std::int32_t kZeroCelsius = 273;

std::uint64_t littleEndian128(std::string_view bytes, std::size_t offset) {
  std::uint64_t value = 0;
  for (std::size_t i = 16; i-- > 0;) {
    const std::uint8_t byte = byteAt(bytes, offset + i);
    if (i >= 8 && byte != 0) return std::numeric_limits<std::uint64_t>::max();
    if (i < 8) value = value << 8 | byte;
  }
  return value;
}

// ---- ATA ----

constexpr std::size_t kAtaPageSize = 512;

/// Whether a page of SMART data is whole: its bytes then add up to 0.
bool addsUp(std::string_view page) {
  unsigned sum = 0;
  for (std::size_t i = 0; i < page.size(); ++i) sum += byteAt(page, i);
  return page.size() == kAtaPageSize && sum % 256 == 0;
}

/// The raw value of an attribute, its lower 32 bits; absent when all are set, which means that it
/// is unset.
std::optional<std::uint64_t> rawCount(std::string_view attribute) {
  std::uint32_t raw = 0;
  for (std::size_t i = 4; i-- > 0;) raw = raw << 8 | byteAt(attribute, 5 + i);
  if (raw == 0xFFFFFFFF) return std::nullopt;
  return raw;
}

/// 30 attributes of 12 bytes, from offset 2: number, flags (2), value, worst, raw (6), reserved.
void decodeAttributes(std::string_view page, Hardware::Disk& disk) {
  constexpr std::size_t kFirst = 2, kSize = 12, kCount = 30;
  enum Number { kReallocated = 5, kHours = 9, kAirflow = 190, kCelsius = 194, kPending = 197 };
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::string_view attribute = page.substr(kFirst + i * kSize, kSize);
    const std::optional<std::uint64_t> count = rawCount(attribute);
    if (!count) continue;
    switch (byteAt(attribute, 0)) {
      case kPending:
        disk.pendingSectors = count;
        disk.badSectors = disk.badSectors.value_or(0) + *count;
        break;
      case kReallocated:
        disk.badSectors = disk.badSectors.value_or(0) + *count;
        break;
      case kHours:
        disk.powerOnHours = *count & 0xFFFFFF;  // the bits above are not hours
        break;
      case kCelsius:
        disk.temperature = byteAt(attribute, 5);
        break;
      case kAirflow:
        if (!disk.temperature) disk.temperature = byteAt(attribute, 5);
        break;
      default:
        break;
    }
  }
}

// ---- SCSI ----

constexpr std::uint8_t kExceptionsPage = 0x2F;

const char* exceptionText(std::uint8_t code, std::uint8_t qualifier) {
  if (code == 0x5D) return "failure prediction threshold exceeded";
  if (code != 0x0B) return "informational exception";
  switch (qualifier) {
    case 0x01:
      return "temperature exceeded";
    case 0x02:
      return "enclosure degraded";
    default:
      return "warning";
  }
}

std::string hexText(std::uint8_t byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  return {kDigits[byte >> 4], kDigits[byte & 15]};
}

}  // namespace

void decodeNvmeSmart(std::string_view log, Hardware::Disk& disk) {
  if (log.size() < kNvmeLogSize) return;
  disk.criticalWarning = byteAt(log, 0);
  const std::int32_t kelvin = byteAt(log, 1) | byteAt(log, 2) << 8;
  if (kelvin != 0) disk.temperature = kelvin - kZeroCelsius;
  disk.spare = byteAt(log, 3);
  disk.spareThreshold = byteAt(log, 4);
  disk.used = byteAt(log, 5);
  disk.powerOnHours = littleEndian128(log, 128);
  disk.mediaErrors = littleEndian128(log, 160);
}

void decodeAtaSmart(std::string_view page, Hardware::Disk& disk) {
  if (addsUp(page)) decodeAttributes(page, disk);
}

void decodeScsiExceptions(std::string_view page, Hardware::Disk& disk) {
  // Page header of 4 bytes, then the parameter 0000h: header of 4, code, qualifier, temperature.
  if (page.size() < 10 || (byteAt(page, 0) & 0x3F) != kExceptionsPage) return;
  if (byteAt(page, 4) != 0 || byteAt(page, 5) != 0 || byteAt(page, 7) < 2) return;
  const std::uint8_t code = byteAt(page, 8);
  const std::uint8_t qualifier = byteAt(page, 9);
  if (code != 0) {
    disk.failurePrediction = std::string(exceptionText(code, qualifier)) + " (" + hexText(code) +
                             "/" + hexText(qualifier) + ")";
  }
  const std::uint8_t celsius = byteAt(page, 10);
  if (byteAt(page, 7) >= 3 && page.size() > 10 && celsius != 0 && celsius != 0xFF) {
    disk.temperature = celsius;
  }
}

std::optional<Sense> parseSense(std::string_view bytes) {
  const std::uint8_t form = byteAt(bytes, 0) & 0x7F;
  if ((form == 0x70 || form == 0x71) && bytes.size() >= 14) {
    return Sense{static_cast<std::uint8_t>(byteAt(bytes, 2) & 15), byteAt(bytes, 12),
                 byteAt(bytes, 13)};
  }
  if ((form == 0x72 || form == 0x73) && bytes.size() >= 4) {
    return Sense{static_cast<std::uint8_t>(byteAt(bytes, 1) & 15), byteAt(bytes, 2),
                 byteAt(bytes, 3)};
  }
  return std::nullopt;
}

bool tellsStandby(const Sense& sense) {
  constexpr std::uint8_t kLowPowerCondition = 0x5E;
  constexpr std::uint8_t kNotReady = 0x04;
  constexpr std::uint8_t kStartUnitNeeded = 0x02;
  return sense.code == kLowPowerCondition ||
         (sense.code == kNotReady && sense.qualifier == kStartUnitNeeded);
}

std::optional<AtaRegisters> ataRegisters(std::string_view sense) {
  constexpr std::uint8_t kAtaStatusReturn = 9;
  if ((byteAt(sense, 0) & 0x7F) != 0x72) return std::nullopt;
  const std::size_t end = std::min<std::size_t>(sense.size(), 8u + byteAt(sense, 7));
  // Descriptors: type, additional length, content.
  for (std::size_t at = 8; at + 1 < end; at += 2u + byteAt(sense, at + 1)) {
    const bool whole = byteAt(sense, at + 1) >= 12 && at + 14 <= end;
    if (byteAt(sense, at) != kAtaStatusReturn || !whole) continue;
    return AtaRegisters{byteAt(sense, at + 5), byteAt(sense, at + 9), byteAt(sense, at + 11)};
  }
  return std::nullopt;
}

std::optional<std::uint16_t> smartPassed(const AtaRegisters& registers) {
  if (registers.lbaMiddle == 0x4F && registers.lbaHigh == 0xC2) return 1;
  if (registers.lbaMiddle == 0xF4 && registers.lbaHigh == 0x2C) return 0;
  return std::nullopt;
}

}  // namespace LinuxHost
