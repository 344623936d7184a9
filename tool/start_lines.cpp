#include "tool/start_lines.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

namespace orv::tool {
namespace {

constexpr std::string_view kStartLine = "--- _Create_";
constexpr std::size_t kLongestLine = 64 * 1024;  ///< bytes; a longer line passes in pieces

/// Passes whole lines on to standard error.
class LineFilter {
 public:
  explicit LineFilter(std::FILE* out) : out_(out) {}

  void add(std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const char c : text) {
      line_ += c;
      if (c == '\n' || line_.size() == kLongestLine) pass();
    }
  }

 private:
  void pass() {
    if (line_.compare(0, kStartLine.size(), kStartLine) != 0) {
      std::fwrite(line_.data(), 1, line_.size(), out_);
    }
    line_.clear();
  }

  std::FILE* const out_;
  std::mutex mutex_;  ///< guards line_
  std::string line_;  ///< what has come of the next line
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
  static auto& filter = *new LineFilter(stderr);
  cookie_io_functions_t functions{};
  functions.write = writeFiltered;
  std::FILE* filtered = fopencookie(&filter, "w", functions);
  if (filtered == nullptr) return;
  std::setvbuf(filtered, nullptr, _IONBF, 0);  // the filter waits for whole lines itself
  stderr = filtered;
}

}  // namespace orv::tool
