#pragma once

#include <optional>
#include <string>

namespace orv::metrics {

/// A threshold as monitoring plugins write it: the range in which a value is good.
///
///     range = [ "@" ] [ start ":" ] [ end ]         start = number | "~", minus infinity
///
///     10        alert below 0 or above 10
///     10:       alert below 10
///     ~:10      alert above 10
///     10:20     alert below 10 or above 20
///     @10:20    alert from 10 to 20, both included
class ThresholdRange {
 public:
  /// Absent for a text that has another form or a start above its end.
  static std::optional<ThresholdRange> parse(const std::string& text);

  bool alerts(double value) const {
    const bool within = start_ <= value && value <= end_;
    return within == inside_;
  }
  /// The range as it was written.
  const std::string& text() const { return text_; }

 private:
  ThresholdRange() = default;

  std::string text_;
  bool inside_ = false;  // alert inside
  double start_ = 0;
  double end_ = 0;
};

}  // namespace orv::metrics
