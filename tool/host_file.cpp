#include "tool/host_file.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <system_error>

#include "tool/errors.h"

namespace orv::tool {
namespace {

std::string place(const std::string& text, std::size_t byte) {
  const std::size_t at = std::min(byte == 0 ? 0 : byte - 1, text.size());
  const auto begin = text.begin();
  const auto lines = std::count(begin, begin + static_cast<std::ptrdiff_t>(at), '\n');
  const std::size_t lineStart = at == 0 ? std::string::npos : text.rfind('\n', at - 1);
  const std::size_t column = lineStart == std::string::npos ? at + 1 : at - lineStart;
  return std::to_string(lines + 1) + ":" + std::to_string(column);
}

}  // namespace

void checkHostFile(const std::string& path) {
  std::error_code error;
  std::ifstream in(path, std::ios::binary);
  if (!in || !std::filesystem::is_regular_file(path, error)) {
    throw BadInput("host file " + path + " cannot be read");
  }
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  try {
    if (!nlohmann::json::parse(text).is_object()) {
      throw BadInput("host file " + path + ": not a JSON object");
    }
  } catch (const nlohmann::json::parse_error& e) {
    throw BadInput("host file " + path + ":" + place(text, e.byte) + ": not JSON");
  }
}

}  // namespace orv::tool
