#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace OrvSoftware {

/// Month, from 0, that a word like "Oct" names. Its first letter counts as it is, further letters
/// in either case, and only as many as are needed: "Ap" is April, "Jxn" June. Anything else is
/// January.
int monthOf(std::string_view word);

/// Microseconds since the epoch of a release date like "Oct 4 2014": month word, day and year,
/// separated by white space; text after the year is ignored. A year below 1901 counts from 1900.
///
/// The time is midnight of that day by the local zone's standard time; a day out of its month's
/// range runs over into another month.
///
/// Absent when one of the three fields is missing or no number, and for a time that a date-time
/// cannot hold: before 1970 or after 9999.
std::optional<std::uint64_t> releaseDateMicroseconds(const std::string& text);

}  // namespace OrvSoftware
