#pragma once

#include <string>
#include <vector>

/// Replaces the C library's `syslog` in a program that links it: lines are kept, and written to
/// standard error too, where a death test can see them. Also lines of libraries loaded at run time.
namespace orv::test {

struct SyslogLine {
  int priority = 0;
  std::string text;  ///< formatted, a final newline included

  bool operator==(const SyslogLine& other) const {
    return priority == other.priority && text == other.text;
  }
};

/// Every line since the start or the last clearSyslog, oldest first. Safe from any thread.
std::vector<SyslogLine> syslogLines();
std::vector<std::string> syslogTexts();
void clearSyslog();

}  // namespace orv::test
