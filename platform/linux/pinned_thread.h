#pragma once

#include <vector>

namespace LinuxHost {

/// Keeps the calling thread on one CPU during its own life, then restores the thread's former
/// affinity. If the kernel does not let the thread move there, nothing changes.
class PinnedThread {
 public:
  explicit PinnedThread(unsigned cpu);
  PinnedThread(const PinnedThread&) = delete;
  PinnedThread& operator=(const PinnedThread&) = delete;
  ~PinnedThread();

 private:
  std::vector<unsigned long> former_;  ///< affinity mask, in the kernel's layout
  bool pinned_ = false;
};

}  // namespace LinuxHost
