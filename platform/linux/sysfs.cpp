#include "platform/linux/sysfs.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace LinuxHost {
namespace {

constexpr std::size_t kLongestFile = 64 * 1024;
constexpr unsigned kLargestListed = 65535;

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
  std::ifstream file(path, std::ios::binary);
  std::string text;
  char piece[4096];
  while (file && text.size() < kLongestFile) {
    file.read(piece, sizeof piece);
    text.append(piece, static_cast<std::size_t>(file.gcount()));
  }
  // A file that could be opened ends in end-of-file; an unreadable one, or a directory, does not.
  if (!file.eof() && text.size() < kLongestFile) return {};
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

std::vector<std::string> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator entry(directory, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::string> resolve(const std::string& path) {
  std::error_code error;
  const auto resolved = std::filesystem::canonical(path, error);
  if (error) return {};
  return resolved.string();
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
    for (unsigned number = *first; number <= *last; ++number) numbers.push_back(number);
  }
  return numbers;
}

}  // namespace LinuxHost
