#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "broker/object_tools.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct DateTimeObject : BrokerObject<DateTimeObject, CMPIDateTime> {
  static constexpr const char* kKind = "date-time";
  static CMPIDateTimeFT table;

  explicit DateTimeObject(DateTime content) : value(std::move(content)) {}
  DateTimeObject* clone() const { return new DateTimeObject(value); }

  DateTime value;
};

/// In the calling thread's memory.
CMPIDateTime* makeDateTime(DateTime value);

/// Reads the 25-character form: yyyymmddhhmmss.mmmmmmsutc (s is + or -, utc is in minutes) or
/// ddddddddhhmmss.mmmmmm:000. Absent for a text of another form.
std::optional<DateTime> parseDateTime(std::string_view text);

/// Microseconds since the epoch at the end of the 30th of December 9999. In every time zone the
/// year has four digits then, which is what a date-time has room for.
constexpr std::uint64_t kLatestPointInTime = 253'402'214'399'999'999;

/// The date-time of microseconds since the epoch, at most kLatestPointInTime, written in local
/// time; or an interval of microseconds, of which at most 99,999,999 days are written.
DateTime dateTimeFromBinary(std::uint64_t microseconds, bool interval);

/// The present time, written in local time.
DateTime currentDateTime();

}  // namespace orv::broker
