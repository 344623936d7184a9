#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string_view>

#include "platform/host_version.h"

namespace OrvSoftware {

/// The alternate image, as the boot configuration of the alternate boot bank describes it.
///
/// The file consists of lines of text; only the first 64 KiB of a line are read. The first line
/// that begins with "build=" counts, without trailing white space:
///
///     build=<version>-<build>          the version ends at the first "-"
///     <build> = <n> | <a>.<b>.<c>      canonical decimal numbers; the build number is n or c
///
/// The product name is the hypervisor's. It and the version are cut to the record's 31 characters.
/// The edition stays empty, which marks an image that does not run; so does the release date, which
/// the file does not contain.
///
/// A file without such a line, or whose line has no "-", gives a record of zeros, which is served
/// all the same. Absent when the text cannot be read (an input error).
std::optional<HykuserVersion_SystemVersion> readAlternateImage(std::istream& bootConfig);

/// The build number in the text after the first "-". -1 unless the text is one number, or three
/// numbers separated by dots, exactly as they would be printed: no spaces, plus signs or leading
/// zeros, nothing after them, all within 32 bits.
std::int32_t parseBuildNumber(std::string_view text);

}  // namespace OrvSoftware
