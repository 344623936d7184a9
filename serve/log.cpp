#include "serve/log.h"

#include <cstdio>
#include <cstdlib>

namespace orv::serve {

bool logsToJournal() noexcept {
  static const bool toJournal = std::getenv("JOURNAL_STREAM") != nullptr;
  return toJournal;
}

void log(LogLevel level, const std::string& text) noexcept try {
  std::string line = text;
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  if (logsToJournal()) {
    std::fprintf(stderr, "<%d>%s\n", static_cast<int>(level), line.c_str());
  } else {
    std::fprintf(stderr, "orvcim: %s\n", line.c_str());
  }
} catch (...) {
  std::fputs("orvcim: no memory for a message\n", stderr);
}

}  // namespace orv::serve
