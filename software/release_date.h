#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace OrvSoftware {

/// The month, counted from 0, that a word like "Oct" names. The case of its first letter matters,
/// that of the others does not. Only as many letters as are needed are looked at: "Ap" is April,
/// "Jxn" June. Anything else is January.
int monthOf(std::string_view word);

/// A release date like "Oct 4 2014", in microseconds since the epoch: the word of a month, day and
/// year, separated by white space; text after the year is ignored. A year below 1901 is counted
/// from 1900.
///
/// The time is midnight of that day in the standard time of the local zone. A day past the end of
/// its month falls in a later month.
///
/// Absent when one of the three fields is missing, when day or year is not a number, and for a time
/// that a date-time cannot hold: before 1970 or after 9999.
std::optional<std::uint64_t> releaseDateMicroseconds(const std::string& text);

}  // namespace OrvSoftware
