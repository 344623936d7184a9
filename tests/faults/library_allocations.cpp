#include "tests/faults/library_allocations.h"

#include <execinfo.h>
#include <link.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT: the C library's own
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT
void* __libc_realloc(void* block, std::size_t size);       // NOLINT
}

namespace {

struct Segment {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  bool holds(const void* address) const {
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    return number >= begin && number < end;
  }
};

Segment program;  // set before anything is counted
Segment library;
std::atomic<bool> counting{false};
std::atomic<std::size_t> made{0};
std::atomic<std::size_t> failing{0};
thread_local bool looking = false;  // the unwinder itself may allocate

Segment extentOf(const dl_phdr_info& object) {
  Segment extent{UINTPTR_MAX, 0};
  for (int number = 0; number < object.dlpi_phnum; ++number) {
    const auto& header = object.dlpi_phdr[number];
    if (header.p_type != PT_LOAD) continue;
    const std::uintptr_t begin = object.dlpi_addr + header.p_vaddr;
    extent.begin = begin < extent.begin ? begin : extent.begin;
    extent.end = begin + header.p_memsz > extent.end ? begin + header.p_memsz : extent.end;
  }
  return extent;
}

// The first caller that is the program's or the library's own code decides, from the allocation's
// caller on.
bool isOfTheLibrary(const void* caller) {
  void* frames[32];
  looking = true;
  const int count = backtrace(frames, 32);
  looking = false;
  int number = 0;
  while (number < count && frames[number] != caller) ++number;
  for (; number < count; ++number) {
    if (library.holds(frames[number])) return true;
    if (program.holds(frames[number])) return false;
  }
  return false;
}

bool fails(const void* caller) {
  if (looking || !isOfTheLibrary(caller)) return false;
  if (made++ != failing) return false;
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

void watchAllocationsOf(const std::string& name) {
  void* first[1];
  backtrace(first, 1);  // loads the unwinder
  program = {};
  library = {};
  dl_iterate_phdr(
      [](dl_phdr_info* object, std::size_t, void* wanted) {
        const std::string file = object->dlpi_name;
        if (file.empty() && program.end == 0) program = extentOf(*object);
        if (file.find(*static_cast<const std::string*>(wanted)) != std::string::npos) {
          library = extentOf(*object);
        }
        return 0;
      },
      const_cast<std::string*>(&name));
  if (library.end == 0) throw std::runtime_error(name + " is not loaded");
}

FailingAllocation::FailingAllocation(std::size_t number) {
  made = 0;
  failing = number;
  counting = true;
}

FailingAllocation::~FailingAllocation() { counting = false; }

bool FailingAllocation::happened() const { return made > failing; }

}  // namespace orv::test
