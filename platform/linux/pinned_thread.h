#pragma once

#include <vector>

namespace LinuxHost {

/// Keeps the calling thread on one CPU while it lives, and gives the thread its former affinity
/// back on every way out. Where the kernel does not let the thread move there, nothing changes.
class PinnedThread {
 public:
  explicit PinnedThread(unsigned cpu);
  PinnedThread(const PinnedThread&) = delete;
  PinnedThread& operator=(const PinnedThread&) = delete;
  ~PinnedThread();

 private:
  std::vector<unsigned long> former_;  ///< affinity mask, as the kernel lays it out
  bool pinned_ = false;
};

}  // namespace LinuxHost
