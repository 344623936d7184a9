#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Hardware {

/// What counters showed at the first look of this process, so that their growth since then can be
/// told. Any thread may call.
class CounterBaselines {
 public:
  /// Counters that are remembered. Those of further elements are taken not to have grown.
  static constexpr std::size_t kMost = 65536;

  /// How much a counter has grown since it was first looked at. One that went back, because its
  /// device was reset, counts from there.
  std::uint64_t growth(const std::string& element, const char* counter, std::uint64_t value);

  /// Whether something held at this or an earlier look.
  bool everHeld(const std::string& element, const char* what, bool holds);

 private:
  std::uint64_t* entry(const std::string& element, const char* counter, std::uint64_t initial);

  std::mutex mutex_;  ///< guards `first_`; nothing is locked before or after it
  std::map<std::string, std::uint64_t> first_;
};

/// The counters of one element.
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
