#include "platform/linux/hardware/smart_logs.h"

#include <atasmart.h>

#include <algorithm>
#include <limits>
#include <memory>

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

struct FreeDisk {
  void operator()(SkDisk* disk) const { sk_disk_free(disk); }
};
using AtaDisk = std::unique_ptr<SkDisk, FreeDisk>;

/// Whether a blob is a row of tagged pieces, each within the bytes:
///
///     blob = (tag[4] size[4, big-endian] piece[size])*
///
/// with pieces of the sizes that libatasmart reads, each once. It looks no further itself.
bool isWellFormed(std::string_view blob) {
  struct Piece {
    std::string_view tag;
    std::size_t size;
    bool seen;
  };
  Piece pieces[] = {
      {"IDFY", 512, false}, {"SMST", 4, false}, {"SMDT", 512, false}, {"SMTH", 512, false}};
  while (!blob.empty()) {
    if (blob.size() < 8) return false;
    std::size_t size = 0;
    for (std::size_t i = 4; i < 8; ++i) size = size << 8 | byteAt(blob, i);
    const auto piece = std::find_if(std::begin(pieces), std::end(pieces),
                                    [&](const Piece& p) { return p.tag == blob.substr(0, 4); });
    if (piece == std::end(pieces) || piece->seen || piece->size != size) return false;
    if (blob.size() - 8 < size) return false;
    piece->seen = true;
    blob.remove_prefix(8 + size);
  }
  return pieces[0].seen;
}

void takeAttribute(SkDisk*, const SkSmartAttributeParsedData* attribute, void* disk) {
  if (std::string_view(attribute->name) == "current-pending-sector") {
    static_cast<Hardware::Disk*>(disk)->pendingSectors = attribute->pretty_value;
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

void decodeAtaSmart(std::string_view blob, Hardware::Disk& disk) {
  if (!isWellFormed(blob)) return;
  SkDisk* opened = nullptr;
  if (sk_disk_open(nullptr, &opened) < 0) return;
  const AtaDisk ata(opened);
  if (sk_disk_set_blob(ata.get(), blob.data(), blob.size()) < 0) return;

  SkBool good = FALSE;
  if (sk_disk_smart_status(ata.get(), &good) >= 0) disk.smartPassed = good ? 1 : 0;
  const SkSmartParsedData* parsed = nullptr;
  if (sk_disk_smart_parse(ata.get(), &parsed) < 0) return;
  std::uint64_t value = 0;
  if (sk_disk_smart_get_temperature(ata.get(), &value) >= 0) {
    disk.temperature = static_cast<std::int32_t>(value / 1000) - kZeroCelsius;
  }
  if (sk_disk_smart_get_power_on(ata.get(), &value) >= 0) disk.powerOnHours = value / 3'600'000;
  if (sk_disk_smart_get_bad(ata.get(), &value) >= 0) disk.badSectors = value;
  sk_disk_smart_parse_attributes(ata.get(), takeAttribute, &disk);
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

std::optional<std::uint8_t> ataCount(std::string_view sense) {
  constexpr std::uint8_t kAtaStatusReturn = 9;
  if ((byteAt(sense, 0) & 0x7F) != 0x72) return std::nullopt;
  const std::size_t end = std::min<std::size_t>(sense.size(), 8u + byteAt(sense, 7));
  // Descriptors: type, additional length, content.
  for (std::size_t at = 8; at + 1 < end; at += 2u + byteAt(sense, at + 1)) {
    const bool whole = byteAt(sense, at + 1) >= 12 && at + 14 <= end;
    if (byteAt(sense, at) == kAtaStatusReturn && whole) return byteAt(sense, at + 5);
  }
  return std::nullopt;
}

}  // namespace LinuxHost
