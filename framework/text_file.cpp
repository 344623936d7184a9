#include "framework/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace ORV {

namespace {

/// A regular file, opened for reading; not open when the path leads to anything else.
class RegularFile {
 public:
  explicit RegularFile(const char* path) {
    struct stat status {};
    // Checked twice: opening a device may have an effect, and the path may change between the
    // calls.
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return;
    descriptor_ = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    isRegular_ = fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
  }
  ~RegularFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  bool isOpen() const { return isRegular_; }

  /// Bytes read; 0 at the end of the file, negative on failure.
  ssize_t readInto(char* buffer, std::size_t size) const {
    ssize_t count = 0;
    do {
      count = read(descriptor_, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
  }

 private:
  int descriptor_ = -1;
  bool isRegular_ = false;
};

}  // namespace

std::optional<std::string> readTextFile(const char* path) {
  constexpr std::size_t kStep = 16 * 1024;
  static_assert(kMostFileBytes % kStep == 0);
  const RegularFile file(path);
  if (!file.isOpen()) return std::nullopt;
  std::string text;
  std::size_t size = 0;
  while (size < kMostFileBytes) {
    text.resize(std::min(size + kStep, kMostFileBytes));
    const ssize_t count = file.readInto(text.data() + size, text.size() - size);
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  text.resize(size);
  return text;
}

std::optional<std::string_view> LineReader::next() {
  in_.getline(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  const auto count = static_cast<std::size_t>(in_.gcount());
  if (in_.good())
    return std::string_view(buffer_.data(), count - 1);  // gcount includes the newline
  if (in_.bad() || count == 0) return std::nullopt;
  if (!in_.eof()) {
    in_.clear();
    in_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  }
  return std::string_view(buffer_.data(), count);
}

}  // namespace ORV
