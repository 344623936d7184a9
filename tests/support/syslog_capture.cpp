#include "tests/support/syslog_capture.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace orv::test {

namespace {

struct Log {
  std::mutex mutex;
  std::vector<SyslogLine> lines;
};

/// Never destroyed: threads may log while the process ends.
Log& log() {
  static auto* const all = new Log;
  return *all;
}

}  // namespace

std::vector<SyslogLine> syslogLines() {
  const std::lock_guard<std::mutex> lock(log().mutex);
  return log().lines;
}

std::vector<std::string> syslogTexts() {
  std::vector<std::string> texts;
  for (const SyslogLine& line : syslogLines()) texts.push_back(line.text);
  return texts;
}

void clearSyslog() {
  const std::lock_guard<std::mutex> lock(log().mutex);
  log().lines.clear();
}

}  // namespace orv::test

extern "C" __attribute__((visibility("default"))) void syslog(int priority, const char* format,
                                                              ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  std::fprintf(stderr, "syslog<%d>: %s", priority, text);
  const std::lock_guard<std::mutex> lock(orv::test::log().mutex);
  orv::test::log().lines.push_back({priority, text});
}
