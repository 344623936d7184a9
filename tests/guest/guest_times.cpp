#include "framework/thread_times.h"

// In place of framework/thread_times.cpp in the library that a guest runs: a minute passes in a
// second. Without any pause the monitors would keep an emulated processor busy.
namespace ORV {

OMC::WallTime deadlineIn(std::chrono::seconds period) {
  return std::chrono::system_clock::now() + std::chrono::milliseconds(period) / 60;
}

std::chrono::nanoseconds brokerStartupLeft() { return std::chrono::seconds(0); }

std::chrono::milliseconds stopPatience() { return std::chrono::seconds(5); }

}  // namespace ORV
