#include "platform/host_version.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/linux/kvm_device.h"
#include "platform/linux/release_texts.h"

// Statuses are errno values.

namespace {

using Values = std::map<std::string, std::string>;

/// The first of the names that has a value, else `otherwise`.
std::string firstOf(const Values& values, std::initializer_list<const char*> names,
                    const char* otherwise) {
  for (const char* name : names) {
    const auto value = values.find(name);
    if (value != values.end() && !value->second.empty()) return value->second;
  }
  return otherwise;
}

template <std::size_t size>
void store(std::string_view text, char (&field)[size]) {
  std::fill(std::begin(field), std::end(field), '\0');
  LinuxHost::cutToFit(text, size - 1).copy(field, size - 1);
}

}  // namespace

int HykuserVersion_GetSystemVersion(HykuserVersion_SystemVersion* version) try {
  utsname kernel{};
  if (version == nullptr) return EINVAL;
  if (uname(&kernel) != 0) return errno;
  const Values release = LinuxHost::readOsRelease();
  HykuserVersion_SystemVersion found{};
  store(firstOf(release, {"NAME", "PRETTY_NAME", "ID"}, "Linux"), found.productName);
  store(LinuxHost::dottedVersion(kernel.release), found.version);
  store(firstOf(release, {"VARIANT", "VERSION", "VERSION_ID", "ID"}, "unknown"), found.edition);
  store(LinuxHost::releaseDateOf(kernel.version), found.releaseDate);
  found.buildNumber = LinuxHost::buildNumberOf(kernel.version);
  *version = found;
  return 0;
} catch (const std::exception&) {
  return ENOMEM;
}

int HykuserStatus_CodeToErrno(int status) { return status; }

const char* HykuserStatus_CodeToString(int status, char* text, std::size_t size) try {
  if (text == nullptr || size == 0) return text;
  const std::string message = std::generic_category().message(status);
  text[message.copy(text, size - 1)] = '\0';
  return text;
} catch (const std::exception&) {
  *text = '\0';
  return text;
}

bool HostType_OSIsHYK() { return LinuxHost::isKvmAvailable(); }
