#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Hardware {

/// The values that counters had when this process first looked at them, from which their growth
/// since then follows. Any thread may call.
class CounterBaselines {
 public:
  /// How many counters are remembered. Any further one counts as not grown.
  static constexpr std::size_t kMost = 65536;

  /// How much a counter has grown since it was first looked at. One that is lower than it was then
  /// has been reset with its device, and is counted from 0.
  std::uint64_t growth(const std::string& element, const char* counter, std::uint64_t value);

  /// Whether something holds now or has held at an earlier look.
  bool everHeld(const std::string& element, const char* what, bool holds);

 private:
  std::uint64_t* entry(const std::string& element, const char* counter, std::uint64_t initial);

  std::mutex mutex_;  ///< guards `first_`; nothing is locked before or after it
  std::map<std::string, std::uint64_t> first_;
};

/// The counters of one element. Borrows both arguments.
class Growth {
 public:
  Growth(CounterBaselines& baselines, const std::string& element)
      : baselines_(baselines), element_(element) {}

  /// 0 for an absent counter.
  std::uint64_t of(const char* counter, const std::optional<std::uint64_t>& value) const {
    return value ? baselines_.growth(element_, counter, *value) : 0;
  }
  bool everHeld(const char* what, bool holds) const {
    return baselines_.everHeld(element_, what, holds);
  }

 private:
  CounterBaselines& baselines_;
  const std::string& element_;
};

}  // namespace Hardware
