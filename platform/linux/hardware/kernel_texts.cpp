#include "platform/linux/hardware/kernel_texts.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace LinuxHost {
namespace {

constexpr std::size_t kLongestText = 256;
constexpr std::size_t kLongestKey = 200;

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\0'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base) {
  text = trimmed(text);
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (text.empty() || error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

/// Removes the text up to a separator, and the separator, from the front; returns that text.
std::string_view takeUpTo(std::string_view& text, char separator) {
  const std::string_view taken = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(text.size(), taken.size() + 1));
  return taken;
}

bool isKeyCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view(".:_-/+@").find(c) != std::string_view::npos;
}

bool hasWord(std::string_view list, std::string_view word) {
  while (!list.empty()) {
    if (takeUpTo(list, ',') == word) return true;
  }
  return false;
}

bool isOctal(char c) { return c >= '0' && c <= '7'; }

/// The kernel writes a space, tab, newline or backslash of a path as \ooo.
std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size() && isOctal(text[i + 1]) && isOctal(text[i + 2]) &&
        isOctal(text[i + 3])) {
      plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 +
                                 (text[i + 3] - '0'));
      i += 3;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

std::optional<Mount> parseMount(std::string_view line) {
  constexpr std::size_t kFixedFields = 6;
  std::string_view fields[kFixedFields];
  for (std::string_view& field : fields) field = takeUpTo(line, ' ');
  while (!line.empty() && takeUpTo(line, ' ') != "-") {
  }
  Mount mount;
  mount.type = cleanText(takeUpTo(line, ' '));
  mount.source = unescaped(takeUpTo(line, ' '));
  if (fields[2].empty() || mount.type.empty() || line.empty()) return std::nullopt;
  mount.device = std::string(fields[2]);
  mount.place = cleanText(unescaped(fields[4]));
  mount.writable = hasWord(fields[5], "rw");
  mount.fileSystemWritable = hasWord(line, "rw");
  return mount;
}

}  // namespace

std::string cleanText(std::string_view text) {
  text = trimmed(text);
  std::string clean;
  for (const char c : text) {
    if (clean.size() >= kLongestText) break;
    if (isSpace(c)) {
      if (clean.empty() || clean.back() != ' ') clean += ' ';
    } else {
      clean += c > ' ' && c <= '~' ? c : '?';
    }
  }
  if (!clean.empty() && clean.back() == ' ') clean.pop_back();  // where a long text was cut
  return clean;
}

std::string keyText(std::string_view text) {
  std::string key = cleanText(text).substr(0, kLongestKey);
  std::replace_if(
      key.begin(), key.end(), [](char c) { return !isKeyCharacter(c); }, '_');
  return key;
}

std::optional<std::uint64_t> unsignedNumber(std::string_view text) {
  return wholeNumber<std::uint64_t>(text, 10);
}

std::optional<std::uint64_t> hexNumber(std::string_view text) {
  text = trimmed(text);
  if (text.substr(0, 2) == "0x") text.remove_prefix(2);
  return wholeNumber<std::uint64_t>(text, 16);
}

std::optional<std::uint64_t> aerTotal(std::string_view text) {
  while (!text.empty()) {
    std::string_view line = takeUpTo(text, '\n');
    if (line.substr(0, 6) != "TOTAL_") continue;
    takeUpTo(line, ' ');
    return unsignedNumber(line);
  }
  return std::nullopt;
}

std::optional<std::uint64_t> linkSpeed(std::string_view text) {
  text = trimmed(text);
  double gigabits = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), gigabits);
  const std::string_view unit = trimmed(text.substr(static_cast<std::size_t>(stop - text.data())));
  constexpr double kMost = 1e6;
  if (error != std::errc{} || (unit != "Gbps" && unit != "Gbit")) return std::nullopt;
  if (!(gigabits > 0) || gigabits > kMost) return std::nullopt;
  return static_cast<std::uint64_t>(std::llround(gigabits * 1e9));
}

std::vector<Mount> parseMountInfo(std::string_view text) {
  std::vector<Mount> mounts;
  while (!text.empty()) {
    if (auto mount = parseMount(takeUpTo(text, '\n'))) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

}  // namespace LinuxHost
