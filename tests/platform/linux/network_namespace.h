#pragma once

#include <sched.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <thread>

namespace LinuxHost {

/// Runs `work` on a thread of its own in a new, empty network namespace, which ends with the
/// thread. Returns why that was not possible, or an empty text.
inline std::string inNetworkNamespace(const std::function<void()>& work) {
  std::string refusal;
  std::thread thread([&] {
    if (unshare(CLONE_NEWNET) != 0) {
      refusal = std::string("no network namespace: ") + std::strerror(errno);
    } else {
      work();
    }
  });
  thread.join();
  return refusal;
}

}  // namespace LinuxHost
