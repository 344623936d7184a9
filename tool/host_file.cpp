#include "tool/host_file.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <variant>

#include "platform/simulated/host_parser.h"
#include "tool/errors.h"

namespace orv::tool {

void checkHostFile(const std::string& path) {
  std::error_code error;
  std::ifstream in(path, std::ios::binary);
  if (!in || !std::filesystem::is_regular_file(path, error)) {
    throw BadInput("host file " + path + " cannot be read");
  }
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const auto host = simulated::parseHost(text);
  if (const auto* wrong = std::get_if<simulated::HostError>(&host)) {
    throw BadInput("host file " + path + ": " + wrong->place + ": " + wrong->message);
  }
}

}  // namespace orv::tool
