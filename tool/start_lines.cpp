#include "tool/start_lines.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace orv::tool {
namespace {

constexpr std::string_view kStartLine = "--- _Create_";
constexpr std::size_t kLongestLine = 64 * 1024;  ///< a longer one passes in pieces

/// Standard error behind a filter that sees whole lines. Called with the stream's lock held.
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

/// Callback of fopencookie: no exception may leave it.
ssize_t writeFiltered(void* cookie, const char* text, std::size_t size) try {
  static_cast<LineFilter*>(cookie)->add({text, size});
  return static_cast<ssize_t>(size);
} catch (...) {
  return 0;  // the stream's error state; what was written is lost, nothing else
}

}  // namespace

// A library writes through the C library's `stderr`, which is a variable there; std::cerr keeps the
// stream that it was made with.
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
