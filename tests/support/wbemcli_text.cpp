#include "tests/support/wbemcli_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

namespace orv::test {

using nlohmann::json;

namespace {

/// A value as wbemcli prints it.
std::string printed(const json& value) {
  if (value.is_null()) return "";
  if (value.is_boolean()) return value.get<bool>() ? "TRUE" : "FALSE";
  if (!value.is_array()) return value.is_string() ? value.get<std::string>() : value.dump();
  std::string all;
  for (const json& element : value) {
    if (!element.is_null()) all += (all.empty() ? "" : ",") + printed(element);
  }
  return all;
}

/// Without the quotes around texts, which a date-time and a reference do not have, and without the
/// backslashes of texts in texts.
std::string withoutQuotes(std::string text) {
  const auto isQuote = [](char c) { return c == '"' || c == '\\'; };
  text.erase(std::remove_if(text.begin(), text.end(), isQuote), text.end());
  return text;
}

/// An object path whose keys may come in any order: its parts, sorted.
std::string comparable(const std::string& path) {
  std::vector<std::string> parts(1);
  for (const char c : withoutQuotes(path)) {
    if (c == ',' || c == '.') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  std::sort(parts.begin(), parts.end());
  std::string text;
  for (const std::string& part : parts) text += part + ",";
  return text;
}

}  // namespace

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

Instances instancesOfTool(const json& instances) {
  Instances all;
  for (const json& instance : instances) {
    Properties properties;
    for (const auto& [name, value] : instance["properties"].items()) {
      const std::string text = withoutQuotes(printed(value));
      if (!text.empty()) properties[name] = text;
    }
    all.insert(properties);
  }
  return all;
}

Instances instancesOfClient(const std::string& output) {
  Instances all;
  Properties current;
  bool open = false;
  for (const std::string& line : linesOf(output)) {
    if (line.empty() || line[0] != '-') {
      if (open) all.insert(current);
      open = false;
      if (!line.empty()) open = true;
      current.clear();
      continue;
    }
    open = true;
    const std::size_t equals = line.find('=');
    const std::string text = withoutQuotes(line.substr(equals + 1));
    if (!text.empty()) current[line.substr(1, equals - 1)] = text;
  }
  if (open) all.insert(current);
  return all;
}

std::multiset<std::string> pathsOfTool(const json& paths) {
  std::multiset<std::string> all;
  for (const json& path : paths) all.insert(comparable(path["path"]));
  return all;
}

std::multiset<std::string> pathsOfClient(const std::string& output) {
  std::multiset<std::string> all;
  for (const std::string& line : linesOf(output)) {
    if (!line.empty()) all.insert(comparable(line.substr(line.find('/') + 1)));
  }
  return all;
}

}  // namespace orv::test
