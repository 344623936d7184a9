#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

/// ASCII characters and numbers, whatever the locale of the process.
namespace orv::broker {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The decimal number that the whole text is, without a plus sign; absent for any other text and
/// for a number that does not fit.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

}  // namespace orv::broker
