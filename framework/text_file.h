#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

/// Text files that an administrator writes, and in whose place there may be anything.
namespace ORV {

constexpr std::size_t kMostFileBytes = 1024 * 1024;
constexpr std::size_t kMostLineBytes = 64 * 1024;

/// The first mebibyte of the file at `path`; what follows is not read.
///
/// Absent when it cannot be opened or read, and when it is not a regular file (directories, devices
/// and named pipes are not opened). Does not block. Fails: std::bad_alloc.
std::optional<std::string> readTextFile(const char* path);

/// Reads lines from a stream, which must outlive the reader.
class LineReader {
 public:
  /// Fails: std::bad_alloc.
  explicit LineReader(std::istream& in) : in_(in), buffer_(kMostLineBytes + 1, '\0') {}

  /// The next line, without its newline; the last line needs none. Of a line longer than 64 KiB the
  /// rest is skipped. The text is valid until the next call. Absent when nothing is left or the
  /// stream fails.
  std::optional<std::string_view> next();

 private:
  std::istream& in_;
  std::string buffer_;
};

}  // namespace ORV
