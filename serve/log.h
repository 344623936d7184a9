#pragma once

#include <string>

namespace orv::serve {

/// Priorities as the journal knows them.
enum class LogLevel { kError = 3, kWarning = 4, kNotice = 5, kInfo = 6 };

/// One line on standard error: "orvcim: text", or with a priority where the journal reads it.
/// Characters that are not printable are replaced: texts of clients take part in it. Never throws.
void log(LogLevel level, const std::string& text) noexcept;

/// Whether standard error is the journal.
bool logsToJournal() noexcept;

}  // namespace orv::serve
