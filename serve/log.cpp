#include "serve/log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace orv::serve {
namespace {

/// JOURNAL_STREAM names the journal's socket by device and inode. A process whose standard error
/// was sent elsewhere inherits the variable all the same.
bool logsToJournal() {
  static const bool toJournal = [] {
    const char* stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    return stream != nullptr && fstat(STDERR_FILENO, &status) == 0 &&
           std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
  }();
  return toJournal;
}

}  // namespace

void log(LogLevel level, const std::string& text) noexcept try {
  std::string line = text;
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  if (logsToJournal()) {
    std::fprintf(stderr, "<%d>%s\n", static_cast<int>(level), line.c_str());
  } else {
    std::fprintf(stderr, "orvcimd: %s\n", line.c_str());
  }
} catch (...) {
  std::fputs("orvcimd: no memory for a message\n", stderr);
}

}  // namespace orv::serve
