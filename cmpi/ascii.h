#pragma once

#include <algorithm>
#include <string_view>

/// CIM names are compared without regard to the case of ASCII letters. The C library's functions
/// are not used, because they follow the locale of the process.

constexpr char lowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerAscii(x) == lowerAscii(y); });
}
