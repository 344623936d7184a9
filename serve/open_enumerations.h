#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "broker/values.h"

namespace orv::serve {

/// What an enumeration returns, and how its objects are written.
enum class PullKind { kInstancesWithPath, kInstancePaths, kInstances };

/// Enumerations that clients have opened and not yet pulled to the end. Each is identified by a
/// random context that only its client knows, and ends when it is not pulled from for its timeout.
///
/// Every operation may be called from any thread and throws CimError: 21 for a context that is not
/// open or is of another kind, 27 above the limits.
class OpenEnumerations {
 public:
  using Clock = std::chrono::steady_clock;

  struct Limits {
    std::size_t enumerations = 64;
    std::size_t objects = 100'000;  ///< of all enumerations that are open
  };

  struct Enumeration {
    PullKind kind = PullKind::kInstancesWithPath;
    std::deque<broker::Instance> objects;  ///< for kInstancePaths only their paths are used
    bool includeClassOrigin = false;
    std::chrono::seconds timeout{0};
  };

  /// The next objects of an enumeration.
  struct Batch {
    std::vector<broker::Instance> objects;
    std::string context;  ///< for the next pull; empty at the end
    bool includeClassOrigin = false;
  };

  OpenEnumerations() : OpenEnumerations(Limits()) {}
  explicit OpenEnumerations(Limits limits) : limits_(limits) {}

  /// Takes the first `count` objects and keeps the rest open.
  Batch open(Enumeration enumeration, std::size_t count, Clock::time_point now = Clock::now());
  Batch pull(const std::string& context, PullKind kind, std::size_t count,
             Clock::time_point now = Clock::now());
  void close(const std::string& context, Clock::time_point now = Clock::now());
  /// Ends those whose timeout has passed.
  void expire(Clock::time_point now = Clock::now());

  std::size_t size() const;

 private:
  struct Entry {
    Enumeration enumeration;
    Clock::time_point until;
  };

  static std::vector<broker::Instance> take(Enumeration& enumeration, std::size_t count);
  void expireLocked(Clock::time_point now);
  void erase(std::map<std::string, Entry>::iterator entry);

  const Limits limits_;
  mutable std::mutex mutex_;  // guards what follows
  std::map<std::string, Entry> open_;
  std::size_t objects_ = 0;
};

}  // namespace orv::serve
