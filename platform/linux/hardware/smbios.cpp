#include "platform/linux/hardware/smbios.h"

#include <algorithm>

#include "platform/linux/hardware/kernel_texts.h"

namespace LinuxHost {
namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::uint8_t kMemoryDevice = 17;
constexpr std::uint8_t kEndOfTable = 127;

/// One structure: its formatted area and its strings.
class Structure {
 public:
  Structure(std::string_view fields, std::string_view strings)
      : fields_(fields), strings_(strings) {}

  std::uint8_t type() const { return byteAt(0); }

  /// Fields past the end of an older, shorter structure read as 0.
  std::uint8_t byteAt(std::size_t offset) const {
    return offset < fields_.size() ? static_cast<std::uint8_t>(fields_[offset]) : 0;
  }
  std::uint16_t wordAt(std::size_t offset) const {
    return static_cast<std::uint16_t>(byteAt(offset) | byteAt(offset + 1) << 8);
  }
  std::uint32_t doubleWordAt(std::size_t offset) const {
    return wordAt(offset) | static_cast<std::uint32_t>(wordAt(offset + 2)) << 16;
  }

  std::string textAt(std::size_t offset) const {
    std::string_view rest = strings_;
    for (unsigned number = byteAt(offset); number > 0 && !rest.empty(); --number) {
      const std::string_view text = rest.substr(0, rest.find('\0'));
      if (number == 1) return cleanText(text);
      rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    }
    return "";
  }

 private:
  std::string_view fields_;
  std::string_view strings_;
};

/// Removes the next structure from the front; absent at the end and where the table is cut off.
std::optional<Structure> takeStructure(std::string_view& table) {
  if (table.size() < kHeaderSize) return std::nullopt;
  const auto length = static_cast<std::uint8_t>(table[1]);
  if (length < kHeaderSize || length > table.size()) return std::nullopt;
  const std::string_view fields = table.substr(0, length);
  table.remove_prefix(length);
  const std::size_t end = table.find(std::string_view("\0\0", 2));
  if (end == std::string_view::npos) return std::nullopt;
  const Structure structure(fields, table.substr(0, end));
  table.remove_prefix(end + 2);
  return structure;
}

/// The text; empty for placeholders that firmware writes instead of leaving a text out.
std::string told(std::string text) {
  for (const char* nothing : {"Not Specified", "Unknown", "NO DIMM", "None", "Undefined",
                              "To Be Filled By O.E.M.", "0x0000", "00000000"}) {
    if (text == nothing) return "";
  }
  return text;
}

std::optional<std::uint64_t> capacityOf(const Structure& structure) {
  constexpr std::uint16_t kUnknown = 0xFFFF;
  constexpr std::uint16_t kExtended = 0x7FFF;
  constexpr std::uint16_t kKilobytes = 0x8000;
  const std::uint16_t size = structure.wordAt(0x0C);
  if (size == kUnknown) return std::nullopt;
  if (size == kExtended) return std::uint64_t{structure.doubleWordAt(0x1C) & 0x7FFFFFFF} << 20;
  if ((size & kKilobytes) != 0) return std::uint64_t{size & 0x7FFFu} << 10;
  return std::uint64_t{size} << 20;
}

/// The word; absent for 0 and for all ones, which mean that the firmware does not know.
std::optional<std::uint16_t> knownWord(std::uint16_t word) {
  if (word == 0 || word == 0xFFFF) return std::nullopt;
  return word;
}

SmbiosMemoryDevice memoryDevice(const Structure& structure) {
  SmbiosMemoryDevice device;
  device.handle = structure.wordAt(2);
  device.totalWidth = knownWord(structure.wordAt(0x08));
  device.dataWidth = knownWord(structure.wordAt(0x0A));
  device.capacity = capacityOf(structure);
  device.formFactor = structure.byteAt(0x0E);
  device.locator = structure.textAt(0x10);
  device.bank = told(structure.textAt(0x11));
  device.type = structure.byteAt(0x12);
  const auto configured = knownWord(structure.wordAt(0x20));
  const auto possible = knownWord(structure.wordAt(0x15));
  if (configured || possible) device.transferRate = configured ? *configured : *possible;
  device.manufacturer = told(structure.textAt(0x17));
  device.serialNumber = told(structure.textAt(0x18));
  device.partNumber = told(structure.textAt(0x1A));
  return device;
}

struct Translation {
  std::uint8_t smbios;
  std::uint16_t cim;
};

constexpr Translation kMemoryTypes[] = {
    {0x03, 2},  {0x04, 6},  {0x05, 7},  {0x06, 8},  {0x07, 9},  {0x08, 10}, {0x09, 11},
    {0x0F, 17}, {0x10, 18}, {0x11, 19}, {0x12, 20}, {0x13, 21}, {0x14, 23}, {0x18, 24},
    {0x19, 25}, {0x1A, 26}, {0x1B, 27}, {0x1C, 28}, {0x1D, 29}, {0x1E, 30}, {0x22, 1}};

constexpr Translation kFormFactors[] = {{0x03, 7}, {0x04, 2}, {0x06, 3},  {0x07, 4},  {0x08, 6},
                                        {0x09, 8}, {0x0A, 9}, {0x0C, 11}, {0x0D, 12}, {0x0E, 13}};

template <std::size_t size>
std::optional<std::uint16_t> translated(const Translation (&table)[size], std::uint8_t value) {
  for (const Translation& row : table) {
    if (row.smbios == value) return row.cim;
  }
  return std::nullopt;
}

}  // namespace

std::vector<SmbiosMemoryDevice> parseMemoryDevices(std::string_view table) {
  std::vector<SmbiosMemoryDevice> devices;
  while (const std::optional<Structure> structure = takeStructure(table)) {
    if (structure->type() == kEndOfTable) break;
    if (structure->type() == kMemoryDevice) devices.push_back(memoryDevice(*structure));
  }
  return devices;
}

std::optional<std::uint16_t> cimMemoryType(std::uint8_t smbiosType) {
  return translated(kMemoryTypes, smbiosType);
}

std::optional<std::uint16_t> cimFormFactor(std::uint8_t smbiosFormFactor) {
  return translated(kFormFactors, smbiosFormFactor);
}

}  // namespace LinuxHost
