#include "software/release_date.h"

#include <ctime>
#include <locale>
#include <sstream>

#include "cmpi/cmpi_date_time.h"

namespace OrvSoftware {

namespace {

struct MonthRule {
  char first;
  std::size_t position;  ///< of the letter that decides; 0: the first letter is enough
  char letter;           ///< in lower case
  int month;
};

constexpr MonthRule kMonthRules[] = {
    {'A', 1, 'p', 3}, {'A', 1, 'u', 7},  {'D', 0, 'D', 11}, {'F', 0, 'F', 1},
    {'J', 1, 'a', 0}, {'J', 2, 'n', 5},  {'J', 2, 'l', 6},  {'M', 2, 'r', 2},
    {'M', 2, 'y', 4}, {'N', 0, 'N', 10}, {'O', 0, 'O', 9},  {'S', 0, 'S', 8},
};

char letterAt(std::string_view word, std::size_t position) {
  return position < word.size() ? word[position] : '\0';
}

bool fits(const MonthRule& rule, std::string_view word) {
  if (letterAt(word, 0) != rule.first) return false;
  if (rule.position == 0) return true;
  const char letter = letterAt(word, rule.position);
  return letter == rule.letter || letter == rule.letter - 'a' + 'A';
}

int yearsSince1900(int year) { return year >= 1901 ? year - 1900 : year; }

constexpr std::time_t kConversionFailed = -1;
constexpr int kLastYear = 9999 - 1900;  // a CIM date-time has four digits for it

/// Deliberate (contract.md#release-date-summer): the day starts with daylight saving off; in summer
/// that is one o'clock local time. The second conversion, through local calendar time, only lets
/// the rules of the zone name the same moment.
std::time_t startOfDay(int years, int month, int day) {
  std::tm date{};
  date.tm_year = years;
  date.tm_mon = month;
  date.tm_mday = day;
  date.tm_isdst = 0;
  const std::time_t standardMidnight = std::mktime(&date);
  std::tm local{};
  const bool known = standardMidnight != kConversionFailed &&
                     localtime_r(&standardMidnight, &local) != nullptr &&
                     local.tm_year <= kLastYear;
  return known ? std::mktime(&local) : kConversionFailed;
}

}  // namespace

int monthOf(std::string_view word) {
  for (const MonthRule& rule : kMonthRules) {
    if (fits(rule, word)) return rule.month;
  }
  return 0;
}

std::optional<std::uint64_t> releaseDateMicroseconds(const std::string& text) {
  std::istringstream fields(text);
  fields.imbue(std::locale::classic());
  std::string month;
  int day = 0;
  int year = 0;
  if (!(fields >> month >> day >> year)) return std::nullopt;
  const std::time_t seconds = startOfDay(yearsSince1900(year), monthOf(month), day);
  if (seconds < 0) return std::nullopt;
  return static_cast<std::uint64_t>(seconds) * kMicrosecondsPerSecond;
}

}  // namespace OrvSoftware
