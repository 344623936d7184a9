#include "platform/linux/release_texts.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <system_error>
#include <vector>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kSpaces = " \t\r";
  const std::size_t begin = text.find_first_not_of(kSpaces);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpaces) + 1 - begin);
}

std::string unquoted(std::string_view value) {
  const char quote = value.empty() ? '\0' : value.front();
  if (quote != '"' && quote != '\'') return std::string(value);
  std::string text;
  for (std::size_t i = 1; i < value.size() && value[i] != quote; ++i) {
    const bool isEscape = quote == '"' && value[i] == '\\' && i + 1 < value.size();
    text += isEscape ? value[++i] : value[i];
  }
  return text;
}

/// The number that the whole text is; absent unless it is between `least` and `most`.
std::optional<int> numberIn(std::string_view text, int least, int most) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end || number < least || number > most) return {};
  return number;
}

std::optional<int> dayOf(std::string_view text) { return numberIn(text, 1, 31); }

std::optional<int> yearOf(std::string_view text) { return numberIn(text, 1990, 9999); }

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  while (!(text = trimmed(text)).empty()) {
    words.push_back(text.substr(0, text.find_first_of(" \t")));
    text.remove_prefix(words.back().size());
  }
  return words;
}

std::string dateText(std::string_view month, int day, int year) {
  return std::string(month) + " " + std::to_string(day) + " " + std::to_string(year);
}

/// The date of "(2024-02-01)" or, with a time of day, "(2025-01-24T12:32Z)"; parentheses are
/// optional.
std::string isoDate(std::string_view word) {
  constexpr std::string_view kParentheses = "()";
  while (!word.empty() && kParentheses.find(word.front()) != std::string_view::npos) {
    word.remove_prefix(1);
  }
  while (!word.empty() && kParentheses.find(word.back()) != std::string_view::npos) {
    word.remove_suffix(1);
  }
  word = word.substr(0, word.find('T'));
  if (word.size() != 10 || word[4] != '-' || word[7] != '-') return {};
  const auto year = yearOf(word.substr(0, 4));
  const auto month = numberIn(word.substr(5, 2), 1, 12);
  const auto day = dayOf(word.substr(8, 2));
  if (!year || !month || !day) return {};
  return dateText(kMonths[static_cast<std::size_t>(*month - 1)], *day, *year);
}

/// A date with month and day at `position`, and the year after a time of day and perhaps a time
/// zone.
std::string calendarDate(const std::vector<std::string_view>& words, std::size_t position) {
  const auto* month = std::find(std::begin(kMonths), std::end(kMonths), words[position]);
  if (month == std::end(kMonths) || position + 1 >= words.size()) return {};
  const auto day = dayOf(words[position + 1]);
  if (!day) return {};
  for (std::size_t i = position + 2; i < words.size() && i < position + 5; ++i) {
    if (const auto year = yearOf(words[i])) return dateText(*month, *day, *year);
  }
  return {};
}

/// A date with day, month and year at `position`, as in "Fri, 17 Jan 2025 15:26:31 +0000" after the
/// first word.
std::string mailDate(const std::vector<std::string_view>& words, std::size_t position) {
  if (position + 2 >= words.size()) return {};
  const auto day = dayOf(words[position]);
  const auto* month = std::find(std::begin(kMonths), std::end(kMonths), words[position + 1]);
  const auto year = yearOf(words[position + 2]);
  if (!day || month == std::end(kMonths) || !year) return {};
  return dateText(*month, *day, *year);
}

}  // namespace

std::map<std::string, std::string> parseOsRelease(std::string_view text) {
  std::map<std::string, std::string> values;
  while (!text.empty()) {
    const std::string_view whole = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), whole.size() + 1));
    const std::string_view line = trimmed(whole);
    const std::size_t equals = line.find('=');
    if (line.empty() || line.front() == '#' || equals == std::string_view::npos) continue;
    values[std::string(line.substr(0, equals))] = unquoted(line.substr(equals + 1));
  }
  return values;
}

std::map<std::string, std::string> readOsRelease() {
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    if (const auto text = readText(path)) return parseOsRelease(*text);
  }
  return {};
}

std::string dottedVersion(std::string_view kernelRelease) {
  std::string_view version =
      kernelRelease.substr(0, kernelRelease.find_first_not_of("0123456789."));
  while (!version.empty() && version.back() == '.') version.remove_suffix(1);
  return std::string(version);
}

std::int32_t buildNumberOf(std::string_view kernelVersion) {
  std::int32_t number = 0;
  if (kernelVersion.empty() || kernelVersion.front() != '#') return number;
  std::from_chars(kernelVersion.data() + 1, kernelVersion.data() + kernelVersion.size(), number);
  return std::max(number, 0);
}

std::string releaseDateOf(std::string_view kernelVersion) {
  const auto words = wordsOf(kernelVersion);
  for (std::size_t i = 0; i < words.size(); ++i) {
    std::string date = isoDate(words[i]);
    if (date.empty()) date = calendarDate(words, i);
    if (date.empty()) date = mailDate(words, i);
    if (!date.empty()) return date;
  }
  return {};
}

std::string_view cutToFit(std::string_view text, std::size_t size) {
  if (text.size() <= size) return text;
  const auto continuesCharacter = [&] {
    return (static_cast<unsigned char>(text[size]) & 0xc0U) == 0x80U;
  };
  while (size > 0 && continuesCharacter()) --size;
  return text.substr(0, size);
}

}  // namespace LinuxHost
