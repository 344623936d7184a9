#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "broker/heap.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct DateTimeObject : CMPIDateTime, HeapEntry {
  using Record = CMPIDateTime;
  static constexpr const char* kKind = "date-time";

  explicit DateTimeObject(DateTime content);
  DateTimeObject* clone() const { return new DateTimeObject(value); }
  /// Null for a null pointer and, with a report, for a foreign record.
  static DateTimeObject* own(const Record* record);

  DateTime value;
};

CMPIDateTime* makeDateTime(DateTime value);

/// The 25-character form, read: yyyymmddhhmmss.mmmmmmsutc (s is + or -, utc minutes) or
/// ddddddddhhmmss.mmmmmm:000. Absent when it is malformed.
std::optional<DateTime> parseDateTime(std::string_view text);

/// Microseconds since the epoch in local time with the local offset; or an interval.
DateTime dateTimeFromBinary(std::uint64_t microseconds, bool interval);

/// Now, in local time.
DateTime currentDateTime();

}  // namespace orv::broker
