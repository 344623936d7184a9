#include "platform/linux/pinned_thread.h"

#include <sched.h>

#include <cerrno>
#include <climits>
#include <cstddef>

namespace LinuxHost {
namespace {

using Mask = std::vector<unsigned long>;

constexpr std::size_t kWordBits = sizeof(unsigned long) * CHAR_BIT;
constexpr std::size_t kLargestMask = 65536 / kWordBits;

cpu_set_t* asSet(Mask& mask) { return reinterpret_cast<cpu_set_t*>(mask.data()); }

std::size_t sizeOf(const Mask& mask) { return mask.size() * sizeof mask[0]; }

/// The calling thread's affinity, in a mask as large as this kernel requires; empty on failure.
Mask currentAffinity() {
  for (Mask mask(sizeof(cpu_set_t) / sizeof(unsigned long)); mask.size() <= kLargestMask;
       mask.resize(mask.size() * 2)) {
    if (sched_getaffinity(0, sizeOf(mask), asSet(mask)) == 0) return mask;
    if (errno != EINVAL) break;
  }
  return {};
}

}  // namespace

PinnedThread::PinnedThread(unsigned cpu) : former_(currentAffinity()) {
  if (cpu / kWordBits >= former_.size()) return;
  Mask only(former_.size());
  only[cpu / kWordBits] = 1UL << (cpu % kWordBits);
  pinned_ = sched_setaffinity(0, sizeOf(only), asSet(only)) == 0;
}

PinnedThread::~PinnedThread() {
  if (pinned_) sched_setaffinity(0, sizeOf(former_), asSet(former_));
}

}  // namespace LinuxHost
