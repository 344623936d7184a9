#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Small readings of sysfs-like trees. Every function takes full paths, so a test hands in a tree
/// of its own; absent or unreadable entries are empty answers. Throws std::bad_alloc alone.
namespace LinuxHost {

/// A whole file without trailing white space, at most 64 KiB of it.
std::optional<std::string> readText(const std::string& path);

/// A file that holds one decimal number, for example "-1".
std::optional<std::int64_t> readNumber(const std::string& path);

/// A file that holds one hexadecimal number of at most 16 bits, for example "0x8086".
std::optional<std::uint16_t> readHex16(const std::string& path);

/// The names in a directory, sorted.
std::vector<std::string> namesIn(const std::string& directory);

/// The text of a symbolic link.
std::optional<std::string> linkTarget(const std::string& path);

/// Last component of a path.
std::string_view baseName(std::string_view path);

/// The numbers of an ascending list such as "0-3,8,10-11". A mistake, a number that does not ascend
/// or one past 65535 ends the list.
std::vector<unsigned> parseNumberList(std::string_view text);

}  // namespace LinuxHost
