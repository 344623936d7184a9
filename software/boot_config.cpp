#include "software/boot_config.h"

#include <charconv>
#include <string>

#include "framework/text_file.h"
#include "software/version_identity.h"

namespace OrvSoftware {

namespace {

constexpr std::string_view kBuildPrefix = "build=";
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::int32_t kUnknownBuild = -1;

std::string_view withoutTrailingWhiteSpace(std::string_view text) {
  const std::size_t last = text.find_last_not_of(kWhiteSpace);
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

/// The number whose decimal digits are exactly `text`.
std::optional<std::int32_t> canonicalNumber(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || std::to_string(number) != text) return std::nullopt;
  return number;
}

/// What follows "build=" in the first line that begins with it; absent when there is no such line.
std::optional<std::string> findBuildLine(std::istream& text) {
  ORV::LineReader lines(text);
  while (const auto line = lines.next()) {
    if (line->substr(0, kBuildPrefix.size()) != kBuildPrefix) continue;
    return std::string(withoutTrailingWhiteSpace(*line).substr(kBuildPrefix.size()));
  }
  return std::nullopt;
}

}  // namespace

std::int32_t parseBuildNumber(std::string_view text) {
  const std::size_t firstDot = text.find('.');
  if (firstDot == std::string_view::npos) return canonicalNumber(text).value_or(kUnknownBuild);
  const std::size_t lastDot = text.rfind('.');
  if (lastDot == firstDot) return kUnknownBuild;
  const bool leadIsCanonical = canonicalNumber(text.substr(0, firstDot)) &&
                               canonicalNumber(text.substr(firstDot + 1, lastDot - firstDot - 1));
  if (!leadIsCanonical) return kUnknownBuild;
  return canonicalNumber(text.substr(lastDot + 1)).value_or(kUnknownBuild);
}

std::optional<HykuserVersion_SystemVersion> readAlternateImage(std::istream& bootConfig) {
  HykuserVersion_SystemVersion image{};
  const std::optional<std::string> build = findBuildLine(bootConfig);
  if (bootConfig.bad()) return std::nullopt;
  if (!build) return image;
  const std::size_t dash = build->find('-');
  if (dash == std::string::npos) return image;
  setField(image.productName, kHypervisorProductName);
  setField(image.version, std::string_view(*build).substr(0, dash));
  image.buildNumber = parseBuildNumber(std::string_view(*build).substr(dash + 1));
  return image;
}

}  // namespace OrvSoftware
