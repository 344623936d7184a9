#include "platform/linux/sysfs.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <new>
#include <system_error>

#include "platform/linux/file_descriptor.h"

namespace LinuxHost {
namespace {

constexpr std::size_t kLongestFile = 64 * 1024;
constexpr unsigned kLargestListed = 65535;

struct DirectoryClose {
  void operator()(DIR* directory) const { closedir(directory); }
};

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc{} || stop != end || text.empty()) return {};
  return number;
}

}  // namespace

std::optional<std::string> readText(const std::string& path) {
  // Non-blocking: a pipe in place of a file must not make a request wait.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) return {};
  std::string text;
  char piece[4096];
  while (text.size() < kLongestFile) {
    const ssize_t size = read(file.number(), piece, sizeof piece);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return {};
    if (size == 0) break;
    text.append(piece, static_cast<std::size_t>(size));
  }
  text.erase(text.find_last_not_of(" \t\n") + 1);
  return text;
}

std::optional<std::int64_t> readNumber(const std::string& path) {
  const auto text = readText(path);
  return text ? wholeNumber<std::int64_t>(*text, 10) : std::nullopt;
}

std::optional<std::uint16_t> readHex16(const std::string& path) {
  const auto text = readText(path);
  if (!text || text->compare(0, 2, "0x") != 0) return {};
  return wholeNumber<std::uint16_t>(std::string_view(*text).substr(2), 16);
}

std::vector<std::string> namesIn(const std::string& path) {
  const std::unique_ptr<DIR, DirectoryClose> directory(opendir(path.c_str()));
  std::vector<std::string> names;
  if (!directory && errno == ENOMEM) throw std::bad_alloc();
  if (!directory) return names;
  while (const dirent* entry = readdir(directory.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::string> linkTarget(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t size = readlink(path.c_str(), target, sizeof target);
  if (size < 0) return {};
  return std::string(target, static_cast<std::size_t>(size));
}

std::string linkDirectory(const std::string& sysRoot, const std::string& name) {
  return sysRoot + "/class/net/" + name;
}

std::string_view baseName(std::string_view path) {
  return path.substr(path.find_last_of('/') + 1);  // npos + 1 is 0: no slash, the whole
}

std::vector<unsigned> parseNumberList(std::string_view text) {
  std::vector<unsigned> numbers;
  while (!text.empty()) {
    const std::string_view range = text.substr(0, text.find(','));
    text.remove_prefix(std::min(text.size(), range.size() + 1));
    const std::size_t dash = range.find('-');
    const auto first = wholeNumber<unsigned>(range.substr(0, dash), 10);
    const auto last =
        dash == std::string_view::npos ? first : wholeNumber<unsigned>(range.substr(dash + 1), 10);
    if (!first || !last || *last > kLargestListed) break;
    if (!numbers.empty() && *first <= numbers.back()) break;
    for (unsigned number = *first; number <= *last; ++number) numbers.push_back(number);
  }
  return numbers;
}

}  // namespace LinuxHost
