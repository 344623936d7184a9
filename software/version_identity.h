#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host_version.h"

namespace OrvSoftware {

/// Names and numbers of one hypervisor image, made from its version record.

/// Product name of the hypervisor, and of a host that is not one.
constexpr std::string_view kHypervisorProductName = "Orvane Ondi";
constexpr std::string_view kHostedProductName = "Orvane Ond";

/// The beginning of an InstanceID of the image in the alternate boot bank. Names of that image end
/// in " Alternate Boot Bank" instead.
constexpr std::string_view kAlternateIdentityPrefix = "Alt Boot Bank:";

/// Writes a text into a field of the record, cut to fit and NUL-terminated.
template <std::size_t Size>
void setField(char (&field)[Size], std::string_view text) {
  const std::size_t length = std::min(text.size(), Size - 1);
  *std::copy_n(text.begin(), length, field) = '\0';
}

/// Whether it is the running image, rather than the alternate one, whose edition is empty.
bool isRunningImage(const HykuserVersion_SystemVersion& image);

/// "5.1.0 build-1234"
std::string versionString(const HykuserVersion_SystemVersion& image);

/// "Orvane Ondi 5.1.0 build-1234", or "Alt Boot Bank: Orvane Ondi 5.1.0 build-799733". The spaces
/// are there also when texts are empty.
std::string identityString(const HykuserVersion_SystemVersion& image);

/// "Orvane Ondi", or "Orvane Ondi Alternate Boot Bank"
std::string imageName(const HykuserVersion_SystemVersion& image);

/// The build number as an unsigned 32-bit value, widened: -1 becomes 4294967295.
std::uint64_t largeBuildNumber(const HykuserVersion_SystemVersion& image);

/// Major version, minor version and revision: the first three numbers of the version text,
/// separated by dots. White space and a sign may precede a number, and anything may follow the
/// third. A number that does not fit 16 bits keeps its low 16 bits. Absent unless there are three.
std::optional<std::array<std::uint16_t, 3>> versionNumbers(const char* version);

}  // namespace OrvSoftware
