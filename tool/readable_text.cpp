#include "tool/readable_text.h"

#include <algorithm>
#include <cstdio>

#include "broker/characters.h"

namespace orv::tool {
namespace {

constexpr std::size_t kDateTimeLength = 25;

bool allDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), broker::isDigit);
}

std::string offset(char sign, int minutes) {
  char text[32];
  std::snprintf(text, sizeof text, "%c%02d:%02d", sign, minutes / 60, minutes % 60);
  return text;
}

std::string clock(const std::string& hhmmss) {
  return hhmmss.substr(0, 2) + ":" + hhmmss.substr(2, 2) + ":" + hhmmss.substr(4, 2);
}

std::string days(const std::string& digits) {
  const unsigned long count = std::stoul(digits);
  if (count == 0) return "";
  return std::to_string(count) + (count == 1 ? " day " : " days ");
}

}  // namespace

std::string oneLine(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else if (code < 0x20 || code == 0x7F) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", code);
      result += escape;
    } else {
      result += c;
    }
  }
  return result;
}

std::size_t columnsOf(std::string_view text) {
  // Bytes 10xxxxxx continue a character.
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// yyyymmddhhmmss.mmmmmmsutc or ddddddddhhmmss.mmmmmm:000
std::string readableDateTime(const std::string& cimText) {
  if (cimText.size() != kDateTimeLength || cimText[14] != '.') return cimText;
  const std::string utc = cimText.substr(22);
  if (!allDigits(cimText.substr(0, 14)) || !allDigits(utc)) return cimText;
  const std::string time = clock(cimText.substr(8, 6));
  const char kind = cimText[21];
  if (kind == ':') return days(cimText.substr(0, 8)) + time;
  if (kind != '+' && kind != '-') return cimText;
  return cimText.substr(0, 4) + "-" + cimText.substr(4, 2) + "-" + cimText.substr(6, 2) + " " +
         time + " " + offset(kind, std::stoi(utc));
}

}  // namespace orv::tool
