#include "metrics/threshold_range.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

namespace orv::metrics {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::optional<double> numberOf(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
}

}  // namespace

std::optional<ThresholdRange> ThresholdRange::parse(const std::string& text) {
  ThresholdRange range;
  range.text_ = text;
  std::string_view rest = text;
  range.inside_ = !rest.empty() && rest.front() == '@';
  if (range.inside_) rest.remove_prefix(1);
  if (rest.empty()) return std::nullopt;
  const std::size_t colon = rest.find(':');
  std::string_view end = rest;
  if (colon != std::string_view::npos) {
    const std::string_view start = rest.substr(0, colon);
    end = rest.substr(colon + 1);
    const std::optional<double> first = start == "~" ? -kInfinity : numberOf(start);
    if (!first) return std::nullopt;
    range.start_ = *first;
  }
  const bool open = colon != std::string_view::npos && end.empty();
  const std::optional<double> last = open ? kInfinity : numberOf(end);
  if (!last || range.start_ > *last) return std::nullopt;
  range.end_ = *last;
  return range;
}

}  // namespace orv::metrics
