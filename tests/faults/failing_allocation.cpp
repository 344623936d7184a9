#include "tests/faults/failing_allocation.h"

#include <atomic>
#include <cerrno>

#include "tests/faults/library_code.h"

extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT: the C library's own
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT
void* __libc_realloc(void* block, std::size_t size);       // NOLINT
}

namespace {

std::atomic<bool> counting{false};
std::atomic<std::size_t> made{0};
std::atomic<std::size_t> failing{0};

bool fails(const void* caller) {
  if (!orv::test::isOfTheLibrary(caller) || made++ != failing) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {
__attribute__((visibility("default"), noinline)) void* malloc(std::size_t size) {
  return counting && fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}
__attribute__((visibility("default"), noinline)) void* calloc(std::size_t count, std::size_t size) {
  return counting && fails(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
__attribute__((visibility("default"), noinline)) void* realloc(void* block, std::size_t size) {
  return counting && fails(__builtin_return_address(0)) ? nullptr : __libc_realloc(block, size);
}
}

namespace orv::test {

FailingAllocation::FailingAllocation(std::size_t number) {
  made = 0;
  failing = number;
  counting = true;
}

FailingAllocation::~FailingAllocation() { counting = false; }

bool FailingAllocation::happened() const { return made > failing; }

}  // namespace orv::test
