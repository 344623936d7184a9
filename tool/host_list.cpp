#include "tool/host_list.h"

#include <stdexcept>

#include "tool/errors.h"

namespace orv::tool {
namespace {

constexpr const char* kSpaces = " \t\r";

/// The line without its comment and without spaces at both ends.
std::string content(const std::string& line) {
  std::size_t end = line.size();
  for (std::size_t i = 0; i < line.size() && end == line.size(); ++i) {
    const bool startsWord = i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t';
    if (line[i] == '#' && startsWord) end = i;
  }
  const std::string text = line.substr(0, end);
  const std::size_t first = text.find_first_not_of(kSpaces);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kSpaces) + 1 - first);
}

}  // namespace

std::vector<client::ServerUrl> readHostList(std::istream& in, const std::string& name) {
  std::vector<client::ServerUrl> servers;
  std::size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const std::string text = content(line);
    if (text.empty()) continue;
    try {
      servers.push_back(client::parseServerUrl(text));
    } catch (const std::invalid_argument& error) {
      throw BadInput(name + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  return servers;
}

}  // namespace orv::tool
