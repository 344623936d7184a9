#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "broker/broker.h"
#include "broker/thread_state.h"

namespace orv::broker {

/// Reports and armed faults of one broker. Any thread.
class Diagnostics {
 public:
  explicit Diagnostics(std::function<void(const Report&)> onReport);
  ~Diagnostics();
  Diagnostics(const Diagnostics&) = delete;
  Diagnostics& operator=(const Diagnostics&) = delete;

  void add(const Report& report);
  std::vector<Report> reports() const;
  void clearReports();

  void arm(Fault fault);
  void disarm();
  /// The first armed fault of the slot that is due; counts the call for every fault of the slot.
  std::optional<InjectedFault> dueFault(const char* slot);
  /// Whether any broker has a fault armed: one load, so that slots can ask each time.
  static bool anyFaultArmed();

 private:
  const std::function<void(const Report&)> onReport_;
  mutable std::mutex mutex_;  // guards the members below; innermost
  std::vector<Report> reports_;
  std::vector<Fault> faults_;
};

}  // namespace orv::broker
