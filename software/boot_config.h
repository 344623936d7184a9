#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string_view>

#include "platform/host_version.h"

namespace OrvSoftware {

/// The alternate image as the boot configuration of the alternate boot bank describes it.
///
/// The file is lines of text, of each of which the first 64 KiB are read. The first line that
/// begins with "build=" counts, trailing white space removed:
///
///     build=<version>-<build>          the version ends at the first "-"
///     <build> = <n> | <a>.<b>.<c>      canonical decimal numbers; the build number is n or c
///
/// Product name and version are cut to the record's 31 characters. The third text field stays
/// empty, which marks an image that does not run; so does the release date, which the file does not
/// tell.
///
/// A file without such a line, or with one that has no "-", gives an all-zero record, which is
/// served all the same. Absent when the text cannot be read (a directory, an input error).
std::optional<HykuserVersion_SystemVersion> readAlternateImage(std::istream& bootConfig);

/// The build number in what follows the first "-"; -1 unless it reads exactly like one number or
/// like three numbers with dots as they would be printed: no spaces, plus signs or leading zeros,
/// nothing after them, all within 32 bits.
std::int32_t parseBuildNumber(std::string_view text);

}  // namespace OrvSoftware
