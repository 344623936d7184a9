#include "tests/faults/library_code.h"

#include <execinfo.h>
#include <link.h>

#include <cstdint>
#include <stdexcept>

namespace orv::test {
namespace {

struct Segment {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  bool holds(const void* address) const {
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    return number >= begin && number < end;
  }
};

Segment program;  // both set before anything is asked
Segment library;
thread_local bool looking = false;  // the unwinder may allocate and open files

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

}  // namespace

void watchLibrary(const std::string& name) {
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

// The first caller that is the program's or the library's own code decides, from the call's caller
// on.
bool isOfTheLibrary(const void* caller) {
  if (looking) return false;
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

}  // namespace orv::test
