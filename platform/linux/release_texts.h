#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// Reads the texts in which a Linux system describes itself.
namespace LinuxHost {

/// The assignments of an os-release file, with quotes and escapes resolved.
///
///   file    = line*
///   line    = spaces? ( '#' comment | name '=' value )? spaces?
///   value   = unquoted | '"' ( char | '\' char )* '"' | "'" char* "'"
///
/// Lines of another form are ignored; of several assignments to a name the last one counts.
std::map<std::string, std::string> parseOsRelease(std::string_view text);

/// The assignments of this system's os-release file; none when it has no such file.
std::map<std::string, std::string> readOsRelease();

/// The dotted numbers at the beginning of a kernel release: "6.1.0" of "6.1.0-18-amd64".
std::string dottedVersion(std::string_view kernelRelease);

/// The build counter at the beginning of a kernel version text: 1 of "#1 SMP PREEMPT_DYNAMIC ...";
/// 0 when there is none.
std::int32_t buildNumberOf(std::string_view kernelVersion);

/// The date in a kernel version text, in the form "Feb 1 2024"; empty when there is none. Four
/// forms are in use: "... Debian 6.1.76-1 (2024-02-01)", "... (2025-01-24T12:32Z)", "... Thu Feb  1
/// 14:00:00 UTC 2024" and "... Fri, 17 Jan 2025 15:26:31 +0000".
std::string releaseDateOf(std::string_view kernelVersion);

/// The beginning of a UTF-8 text, at most `size` bytes, that ends with a whole character.
std::string_view cutToFit(std::string_view text, std::size_t size);

}  // namespace LinuxHost
