#include "hardware/counter_baselines.h"

namespace Hardware {

std::uint64_t* CounterBaselines::entry(const std::string& element, const char* counter,
                                       std::uint64_t initial) {
  std::string key = element + '\0' + counter;
  const auto found = first_.find(key);
  if (found != first_.end()) return &found->second;
  if (first_.size() >= kMost) return nullptr;
  return &first_.emplace(std::move(key), initial).first->second;
}

std::uint64_t CounterBaselines::growth(const std::string& element, const char* counter,
                                       std::uint64_t value) {
  const std::lock_guard lock(mutex_);
  std::uint64_t* const first = entry(element, counter, value);
  if (first == nullptr) return 0;
  if (value < *first) *first = 0;
  return value - *first;
}

bool CounterBaselines::everHeld(const std::string& element, const char* what, bool holds) {
  const std::lock_guard lock(mutex_);
  std::uint64_t* const held = entry(element, what, holds ? 1 : 0);
  if (held == nullptr) return holds;
  if (holds) *held = 1;
  return *held != 0;
}

}  // namespace Hardware
