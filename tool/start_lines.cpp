#include "tool/start_lines.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace orv::tool {
namespace {

constexpr std::string_view kStartLine = "--- _Create_";
constexpr std::size_t kLongestLine = 64 * 1024;  ///< bytes; a longer line passes in pieces

/// Passes whole lines on to standard error. Called with the stream's lock held.
struct LineFilter {
  std::FILE* out;
  std::string line;

  void add(std::string_view text) {
    for (const char c : text) {
      line += c;
      if (c == '\n' || line.size() == kLongestLine) pass();
    }
  }

  void pass() {
    if (line.compare(0, kStartLine.size(), kStartLine) != 0) {
      std::fwrite(line.data(), 1, line.size(), out);
    }
    line.clear();
  }
};

/// Callback of fopencookie, which no exception may leave.
ssize_t writeFiltered(void* cookie, const char* text, std::size_t size) try {
  static_cast<LineFilter*>(cookie)->add({text, size});
  return static_cast<ssize_t>(size);
} catch (...) {
  return 0;  // an error of the stream: only this text is lost
}

}  // namespace

// Libraries write to `stderr`, a variable of the C library that can be replaced. std::cerr keeps
// the original stream.
void hideStartLines() {
  static auto& filter = *new LineFilter{stderr, {}};
  cookie_io_functions_t functions{};
  functions.write = writeFiltered;
  std::FILE* filtered = fopencookie(&filter, "w", functions);
  if (filtered == nullptr) return;
  std::setvbuf(filtered, nullptr, _IOLBF, BUFSIZ);
  stderr = filtered;
}

}  // namespace orv::tool
