#include "broker/date_times.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

constexpr std::int64_t kSecond = 1'000'000;  // in microseconds
constexpr std::int64_t kMinute = 60 * kSecond;
constexpr std::size_t kTextLength = 25;
constexpr std::uint64_t kMostDays = 99'999'999;  // of an interval

std::int64_t digits(std::string_view text, std::size_t from, std::size_t count) {
  std::int64_t number = 0;
  for (const char c : text.substr(from, count)) number = number * 10 + (c - '0');
  return number;
}

bool hasShape(std::string_view text) {
  if (text.size() != kTextLength || text[14] != '.') return false;
  if (text[21] != '+' && text[21] != '-' && text[21] != ':') return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i != 14 && i != 21 && (text[i] < '0' || text[i] > '9')) return false;
  }
  return true;
}

/// Minutes east of Greenwich in a date-time's text.
std::int64_t offsetMinutes(std::string_view text) {
  const std::int64_t minutes = digits(text, 22, 3);
  return text[21] == '-' ? -minutes : minutes;
}

std::int64_t intervalLength(std::string_view text) {
  const std::int64_t hours = digits(text, 0, 8) * 24 + digits(text, 8, 2);
  const std::int64_t minutes = hours * 60 + digits(text, 10, 2);
  return (minutes * 60 + digits(text, 12, 2)) * kSecond + digits(text, 15, 6);
}

std::int64_t pointInTime(std::string_view text) {
  std::tm parts{};
  parts.tm_year = static_cast<int>(digits(text, 0, 4)) - 1900;
  parts.tm_mon = static_cast<int>(digits(text, 4, 2)) - 1;
  parts.tm_mday = static_cast<int>(digits(text, 6, 2));
  parts.tm_hour = static_cast<int>(digits(text, 8, 2));
  parts.tm_min = static_cast<int>(digits(text, 10, 2));
  parts.tm_sec = static_cast<int>(digits(text, 12, 2));
  return timegm(&parts) * kSecond + digits(text, 15, 6) - offsetMinutes(text) * kMinute;
}

template <class... Numbers>
std::string formatted(const char* format, Numbers... numbers) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, numbers...);
  return buffer.data();
}

std::string intervalText(std::uint64_t microseconds) {
  const std::uint64_t seconds = microseconds / kSecond;
  return formatted("%08llu%02llu%02llu%02llu.%06llu:000",
                   static_cast<unsigned long long>(std::min(seconds / 86400, kMostDays)),
                   static_cast<unsigned long long>(seconds / 3600 % 24),
                   static_cast<unsigned long long>(seconds / 60 % 60),
                   static_cast<unsigned long long>(seconds % 60),
                   static_cast<unsigned long long>(microseconds % kSecond));
}

std::string localText(std::int64_t microseconds) {
  std::int64_t fraction = microseconds % kSecond;
  if (fraction < 0) fraction += kSecond;
  const std::time_t seconds = (microseconds - fraction) / kSecond;
  std::tm local{};
  localtime_r(&seconds, &local);
  const long offset = local.tm_gmtoff / 60;
  return formatted("%04d%02d%02d%02d%02d%02d.%06lld%c%03ld", local.tm_year + 1900, local.tm_mon + 1,
                   local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                   static_cast<long long>(fraction), offset < 0 ? '-' : '+', std::labs(offset));
}

CMPIUint64 binaryFormat(const DateTimeObject& self, CMPIStatus* /*out*/) {
  if (self.value.interval) return self.value.microseconds;
  // Deliberate (contract.md#offset-twice): the number is right only in UTC.
  const std::int64_t twice = offsetMinutes(self.value.text) * kMinute;
  return self.value.microseconds - static_cast<std::uint64_t>(twice);
}

CMPIString* stringFormat(const DateTimeObject& self, CMPIStatus* /*out*/) {
  return makeString(self.value.text);
}

CMPIBoolean isInterval(const DateTimeObject& self, CMPIStatus* /*out*/) {
  return self.value.interval ? 1 : 0;
}

}  // namespace

CMPIDateTimeFT DateTimeObject::table = {1,
                                        slot<releaseObject<DateTimeObject>>,
                                        slot<cloneObject<DateTimeObject>>,
                                        slot<binaryFormat>,
                                        slot<stringFormat>,
                                        slot<isInterval>};

CMPIDateTime* makeDateTime(DateTime value) { return makeObject<DateTimeObject>(std::move(value)); }

std::optional<DateTime> parseDateTime(std::string_view text) {
  if (!hasShape(text)) return std::nullopt;
  const bool interval = text[21] == ':';
  const std::int64_t length = interval ? intervalLength(text) : pointInTime(text);
  return DateTime{std::string(text), static_cast<std::uint64_t>(length), interval};
}

DateTime dateTimeFromBinary(std::uint64_t microseconds, bool interval) {
  if (interval) return DateTime{intervalText(microseconds), microseconds, true};
  const std::uint64_t point = std::min(microseconds, kLatestPointInTime);
  return DateTime{localText(static_cast<std::int64_t>(point)), point, false};
}

DateTime currentDateTime() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const auto now = std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count();
  return dateTimeFromBinary(static_cast<std::uint64_t>(now), false);
}

}  // namespace orv::broker
