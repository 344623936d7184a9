#include "software/version_identity.h"

#include <cstdlib>

namespace OrvSoftware {

namespace {

/// Reads a number and moves `text` past it. False, with `text` where it was, when there is none.
bool readNumber(const char*& text, std::uint16_t& number) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);  // out of range: the nearest long
  if (end == text) return false;
  number = static_cast<std::uint16_t>(value);
  text = end;
  return true;
}

bool skipDot(const char*& text) {
  if (*text != '.') return false;
  ++text;
  return true;
}

}  // namespace

bool isRunningImage(const HykuserVersion_SystemVersion& image) { return image.edition[0] != '\0'; }

std::string versionString(const HykuserVersion_SystemVersion& image) {
  return std::string(image.version) + " build-" + std::to_string(image.buildNumber);
}

std::string identityString(const HykuserVersion_SystemVersion& image) {
  std::string identity = std::string(image.productName) + " " + versionString(image);
  if (isRunningImage(image)) return identity;
  return std::string(kAlternateIdentityPrefix) + " " + identity;
}

std::string imageName(const HykuserVersion_SystemVersion& image) {
  const std::string name = image.productName;
  return isRunningImage(image) ? name : name + " Alternate Boot Bank";
}

std::uint64_t largeBuildNumber(const HykuserVersion_SystemVersion& image) {
  return static_cast<std::uint32_t>(image.buildNumber);
}

std::optional<std::array<std::uint16_t, 3>> versionNumbers(const char* version) {
  std::array<std::uint16_t, 3> numbers{};
  const bool complete = readNumber(version, numbers[0]) && skipDot(version) &&
                        readNumber(version, numbers[1]) && skipDot(version) &&
                        readNumber(version, numbers[2]);
  if (!complete) return std::nullopt;
  return numbers;
}

}  // namespace OrvSoftware
