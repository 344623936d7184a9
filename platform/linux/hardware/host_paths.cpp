#include "platform/linux/hardware/host_paths.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <system_error>

#include "platform/linux/file_descriptor.h"
#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};

std::optional<std::string> fileText(const std::string& path) {
  errno = 0;
  auto text = readText(path);
  if (!text) throwIfExhausted(errno);
  return text;
}

}  // namespace

void throwIfExhausted(int error) {
  if (error == ENOMEM) throw std::bad_alloc();
  if (error == EMFILE || error == ENFILE) {
    throw std::system_error(error, std::generic_category(), "hardware cannot be read");
  }
}

std::string resolved(const std::string& path) {
  const std::unique_ptr<char, Free> target(realpath(path.c_str(), nullptr));
  if (target == nullptr) throwIfExhausted(errno);
  return target == nullptr ? "" : target.get();
}

std::vector<std::string> entriesOf(const std::string& directory) {
  errno = 0;
  std::vector<std::string> names = namesIn(directory);
  if (names.empty()) throwIfExhausted(errno);
  return names;
}

std::string textIn(const std::string& path) {
  const auto text = fileText(path);
  return text ? cleanText(*text) : "";
}

template <typename Number>
std::optional<Number> numberIn(const std::string& path) {
  const auto text = fileText(path);
  const auto number = text ? unsignedNumber(*text) : std::nullopt;
  if (!number || *number > std::numeric_limits<Number>::max()) return std::nullopt;
  return static_cast<Number>(*number);
}

template std::optional<std::uint16_t> numberIn(const std::string&);
template std::optional<std::uint32_t> numberIn(const std::string&);
template std::optional<std::uint64_t> numberIn(const std::string&);

std::optional<std::string> bytesIn(const std::string& path, int& error, std::size_t most) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  error = errno;
  if (!file.isOpen()) {
    throwIfExhausted(error);
    return std::nullopt;
  }
  std::string bytes;
  char piece[4096];
  while (bytes.size() < most) {
    const std::size_t wanted = std::min(sizeof piece, most - bytes.size());
    const ssize_t size = read(file.number(), piece, wanted);
    error = errno;
    if (size < 0 && error == EINTR) continue;
    if (size < 0) return std::nullopt;
    if (size == 0) break;
    bytes.append(piece, static_cast<std::size_t>(size));
  }
  return bytes;
}

}  // namespace LinuxHost
