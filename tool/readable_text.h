#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orv::tool {

/// The text with control characters written as \n, \t or \xNN, so that it stays on one line and
/// cannot control a terminal. Other bytes are kept.
std::string oneLine(std::string_view text);

/// Columns that UTF-8 text takes on a terminal, counting each character as one.
std::size_t columnsOf(std::string_view text);

/// "2026-11-21 02:40:00 +00:00" for a CIM date-time, "1 day 02:03:04" for an interval; the text
/// itself when it is neither.
std::string readableDateTime(const std::string& cimText);

}  // namespace orv::tool
