#include "metrics/conversions.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <variant>

#include "cimxml/element_writer.h"

namespace orv::metrics {
namespace {

using broker::Value;

constexpr std::uint64_t kEnabled = 2;
constexpr std::uint64_t kDisabled = 3;
constexpr std::uint64_t kEnabledButOffline = 6;
constexpr std::uint64_t kCpuEnabled = 1;

std::optional<double> numberOf(const Value& value) {
  if (value.null) return std::nullopt;
  if (const auto* number = std::get_if<std::uint64_t>(&value.content)) {
    return static_cast<double>(*number);
  }
  if (const auto* number = std::get_if<std::int64_t>(&value.content)) {
    return static_cast<double>(*number);
  }
  if (const auto* number = std::get_if<double>(&value.content)) return *number;
  return std::nullopt;
}

template <int kDivisor>
std::optional<double> dividedBy(const Value& value) {
  const std::optional<double> number = numberOf(value);
  return number ? std::optional<double>(*number / kDivisor) : std::nullopt;
}

std::optional<double> bytesPerSecond(const Value& value) {
  const std::optional<double> bits = numberOf(value);
  return bits && *bits != 0 ? dividedBy<8>(value) : std::nullopt;
}

std::optional<double> flag(const Value& value) {
  if (const auto* truth = value.null ? nullptr : std::get_if<bool>(&value.content)) {
    return *truth ? 1 : 0;
  }
  const std::optional<double> number = numberOf(value);
  return number ? std::optional<double>(*number != 0 ? 1 : 0) : std::nullopt;
}

std::optional<double> secondsSinceEpoch(const Value& value) {
  const auto* time = value.null ? nullptr : std::get_if<broker::DateTime>(&value.content);
  if (time == nullptr || time->interval) return std::nullopt;
  constexpr double kMicrosecondsPerSecond = 1e6;
  return static_cast<double>(time->microseconds) / kMicrosecondsPerSecond;
}

std::optional<std::uint64_t> portState(const Value& value) {
  const std::optional<std::uint64_t> state = codeOf(value);
  for (const std::uint64_t known : {kEnabled, kDisabled, kEnabledButOffline}) {
    if (state == known) return state;
  }
  return std::nullopt;
}

std::optional<double> portEnabled(const Value& value) {
  const std::optional<std::uint64_t> state = portState(value);
  if (!state) return std::nullopt;
  return *state == kDisabled ? 0 : 1;
}

std::optional<double> portUp(const Value& value) {
  const std::optional<std::uint64_t> state = portState(value);
  if (!state) return std::nullopt;
  return *state == kEnabled ? 1 : 0;
}

std::optional<double> cpuRunning(const Value& value) {
  const std::optional<std::uint64_t> status = codeOf(value);
  if (!status) return std::nullopt;
  return *status == kCpuEnabled ? 1 : 0;
}

}  // namespace

const Conversion kAsIs = {"", &numberOf};
const Conversion kFlag = {"0 or 1", &flag};
const Conversion kBytes = {"bytes", &numberOf};
const Conversion kBitRate = {"bytes per second; none for 0", &bytesPerSecond};
const Conversion kMicroseconds = {"seconds", &dividedBy<1'000'000>};
const Conversion kSeconds = {"seconds", &numberOf};
const Conversion kPacketRate = {"packets per second", &numberOf};
const Conversion kTime = {"seconds since the epoch", &secondsSinceEpoch};
const Conversion kHealth = {"0, 5, 10, ..., 30", &numberOf};
const Conversion kPortEnabled = {"0 or 1", &portEnabled};
const Conversion kPortUp = {"0 or 1", &portUp};
const Conversion kCpuRunning = {"0 or 1", &cpuRunning};

std::optional<std::uint64_t> codeOf(const Value& value) {
  const auto* number = value.null ? nullptr : std::get_if<std::uint64_t>(&value.content);
  return number == nullptr ? std::nullopt : std::optional<std::uint64_t>(*number);
}

std::string plainText(const Value& value) {
  if (value.null) return "";
  if (const auto* text = std::get_if<std::string>(&value.content)) return cimxml::cleanText(*text);
  if (const auto* number = std::get_if<std::uint64_t>(&value.content)) {
    return std::to_string(*number);
  }
  if (const auto* number = std::get_if<std::int64_t>(&value.content)) {
    return std::to_string(*number);
  }
  return cimxml::cleanText(value.toText());
}

std::string macText(const Value& value) {
  constexpr std::size_t kDigits = 12;
  std::string digits = plainText(value);
  const auto isDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
  if (digits.size() != kDigits || !std::all_of(digits.begin(), digits.end(), isDigit)) {
    return digits;
  }
  std::string text;
  for (std::size_t i = 0; i < kDigits; ++i) {
    if (i != 0 && i % 2 == 0) text += ':';
    text += static_cast<char>(std::tolower(static_cast<unsigned char>(digits[i])));
  }
  return text;
}

std::string lastPartText(const Value& value) {
  const std::string text = plainText(value);
  const std::size_t colon = text.find(':', text.find(':') + 1);
  return text.find(':') == std::string::npos || colon == std::string::npos ? text
                                                                           : text.substr(colon + 1);
}

std::string vendorText(const Value& value) {
  const std::optional<std::uint64_t> code = codeOf(value);
  if (!code) return "";
  switch (*code) {
    case 1:
      return "Other";
    case 2:
      return "GenuineIntel";
    case 3:
      return "AuthenticAMD";
    default:
      return std::to_string(*code);
  }
}

std::string bankText(const Value& value) {
  return plainText(value).rfind("Alt Boot Bank: ", 0) == 0 ? "alternate" : "running";
}

}  // namespace orv::metrics
