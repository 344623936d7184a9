#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Reads small files in trees like sysfs. Every function takes full paths, so a test can use a tree
/// of its own. What is absent or unreadable gives an empty answer. Fails: only std::bad_alloc.
namespace LinuxHost {

/// A whole file, or its first 64 KiB, without trailing white space.
std::optional<std::string> readText(const std::string& path);

/// The decimal number in a file that contains nothing else, for example "-1".
std::optional<std::int64_t> readNumber(const std::string& path);

/// The hexadecimal number of at most 16 bits in a file that contains nothing else, for example
/// "0x8086".
std::optional<std::uint16_t> readHex16(const std::string& path);

/// The names in a directory, sorted.
std::vector<std::string> namesIn(const std::string& directory);

/// The text of a symbolic link.
std::optional<std::string> linkTarget(const std::string& path);

/// The directory of a network link.
std::string linkDirectory(const std::string& sysRoot, const std::string& name);

/// The last component of a path.
std::string_view baseName(std::string_view path);

/// The numbers of an ascending list such as "0-3,8,10-11". The list ends at the first mistake, at a
/// number that does not ascend, and at one above 65535.
std::vector<unsigned> parseNumberList(std::string_view text);

}  // namespace LinuxHost
