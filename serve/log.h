#pragma once

#include <string>

namespace orv::serve {

/// Priorities as the journal knows them.
enum class LogLevel { kError = 3, kWarning = 4, kNotice = 5, kInfo = 6 };

/// Writes one line to standard error: "orvcimd: text", or the text with its priority where standard
/// error is the journal. Control characters become "?", because parts of the text may come from
/// clients. Never throws; safe to call from any thread.
void log(LogLevel level, const std::string& text) noexcept;

}  // namespace orv::serve
