#include "heartbeat/interval_config.h"

#include <charconv>
#include <istream>
#include <string_view>

#include "framework/text_file.h"

namespace Heartbeat {
namespace {

constexpr std::string_view kKeyword = "heartbeatInterval";

std::optional<std::int32_t> valueOf(std::string_view line) {
  const std::size_t start = line.find_first_of("#0123456789");
  if (start == std::string_view::npos || line[start] == '#') return std::nullopt;
  // Deliberate (contract.md#number-first): a number at the very start ends the line.
  if (start == 0) return std::nullopt;
  std::int32_t value = 0;
  const auto result = std::from_chars(line.data() + start, line.data() + line.size(), value);
  return result.ec == std::errc() ? value : kUnreadableInterval;
}

}  // namespace

std::optional<std::int32_t> scanInterval(std::istream& in) {
  ORV::LineReader lines(in);
  while (const auto line = lines.next()) {
    if (line->find(kKeyword) != std::string_view::npos) return valueOf(*line);
  }
  return std::nullopt;
}

}  // namespace Heartbeat
