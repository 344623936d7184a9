#pragma once

/// Kinds of ASCII characters, whatever the locale of the process.
namespace orv::broker {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

}  // namespace orv::broker
