#pragma once

#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace LinuxHost {

/// What an independent tool of the machine prints; nothing when it is missing or fails, so that the
/// test that wants to compare skips. Only tests run tools.
inline std::optional<std::string> toolOutput(const std::string& command) {
  FILE* pipe =
      popen(("PATH=$PATH:/usr/sbin:/sbin LC_ALL=C " + command + " 2>/dev/null").c_str(), "r");
  if (pipe == nullptr) return {};
  std::string text;
  char buffer[4096];
  for (std::size_t size; (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    text.append(buffer, size);
  }
  if (pclose(pipe) != 0) return {};
  return text;
}

/// The text after "label:" in the first line that begins with it, without spaces before it.
inline std::optional<std::string> labelled(const std::string& text, const std::string& label) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const auto begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line.compare(begin, label.size() + 1, label + ":") != 0) {
      continue;
    }
    const auto value = line.find_first_not_of(" \t", begin + label.size() + 1);
    return value == std::string::npos ? std::string() : line.substr(value);
  }
  return {};
}

}  // namespace LinuxHost
