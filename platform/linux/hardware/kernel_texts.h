#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Values from texts of the kernel and of devices. The functions depend on their arguments alone
/// and return for any text of any length; a text of another form is an absent value.
namespace LinuxHost {

/// A text for people: at most 256 characters, without spaces at either end or repeated ones,
/// characters that do not print replaced by "?".
std::string cleanText(std::string_view text);

/// A text that can be part of a key: as cleanText, at most 200 characters, with everything but
/// letters, digits and `.:_-/+@` replaced by "_".
std::string keyText(std::string_view text);

inline bool beginsWith(std::string_view text, std::string_view word) {
  return text.substr(0, word.size()) == word;
}

/// The decimal number that the text is, apart from spaces around it.
std::optional<std::uint64_t> unsignedNumber(std::string_view text);

/// The hexadecimal number that the text is, with or without "0x".
std::optional<std::uint64_t> hexNumber(std::string_view text);

/// The total in a PCI error counter file:
///
///     file = (name ' ' count '\n')*      the last line's name begins with TOTAL_
std::optional<std::uint64_t> aerTotal(std::string_view text);

/// Bits per second of a SATA or SAS link: "6.0 Gbps", "12.0 Gbit". Absent while the link is down
/// ("<unknown>", "Unknown", "Phy disabled").
std::optional<std::uint64_t> linkSpeed(std::string_view text);

/// One line of /proc/self/mountinfo:
///
///     line = id parent device root place options field* '-' type source superOptions
struct Mount {
  std::string device;               ///< major:minor
  std::string place;                ///< where it is mounted, octal escapes resolved
  bool writable = false;            ///< according to the options of the mount
  bool fileSystemWritable = false;  ///< according to the options of the file system
  std::string type;
  std::string source;  ///< mostly the path of a device, octal escapes resolved
};

/// The lines that have that form; others are ignored.
std::vector<Mount> parseMountInfo(std::string_view text);

}  // namespace LinuxHost
