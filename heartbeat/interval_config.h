#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

/// The heartbeat's interval in the object manager's configuration file.
///
///     file  = { line "\n" } [ line ]
///     line  = any bytes
///
/// The first line that contains "heartbeatInterval" anywhere decides; no other is looked at. Its
/// value is its first run of decimal digits, wherever that is, unless a "#" precedes it or the line
/// begins with it:
///
///     heartbeatInterval: 60            60
///     heartbeatInterval = 45 # 90      45
///     heartbeatInterval: -45           45: a minus sign is not part of the number
///     enableInterOp: true heartbeatInterval: 60
///                                      60: so written, the object manager accepts its own file
///     # heartbeatInterval: 60          none
///     60 heartbeatInterval             none
namespace Heartbeat {

/// The value of a run of digits that does not fit a signed 32-bit number.
constexpr std::int32_t kUnreadableInterval = -1;

/// The value in seconds, not checked; absent when the file has none. Reads no further than the line
/// that decides, and only the first 64 KiB of each line. A stream that fails counts as ending
/// there.
std::optional<std::int32_t> scanInterval(std::istream& in);

}  // namespace Heartbeat
