#include "tests/health/failing_allocation.h"

#include <atomic>
#include <new>

namespace {

std::atomic<bool> fails{false};

}  // namespace

namespace orv::test {

FailingArrayAllocation::FailingArrayAllocation() { fails = true; }
FailingArrayAllocation::~FailingArrayAllocation() { fails = false; }

}  // namespace orv::test

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (fails) return nullptr;
  try {
    return ::operator new[](size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
