#include "framework/thread_memory.h"

#include <link.h>

#include <cstdint>

namespace ORV {

namespace {

constexpr int kEntryIndex = 7;

/// Reads the word after a table of seven slots, where a sanitizer may have put a red zone.
__attribute__((no_sanitize("address"), noinline)) std::uintptr_t wordAfterTable(
    const CMPIContextFT* table) {
  return reinterpret_cast<const volatile std::uintptr_t*>(table)[kEntryIndex];
}

struct CodeSearch {
  std::uintptr_t address;
  bool found;
};

/// Callback of dl_iterate_phdr; 1 ends the iteration.
int searchObject(dl_phdr_info* object, std::size_t /*size*/, void* argument) {
  auto& search = *static_cast<CodeSearch*>(argument);
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = object->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
    const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
    if (search.address >= begin && search.address - begin < segment.p_memsz) search.found = true;
  }
  return search.found ? 1 : 0;
}

bool isCode(std::uintptr_t address) {
  if (address == 0) return false;
  CodeSearch search{address, false};
  dl_iterate_phdr(searchObject, &search);
  return search.found;
}

}  // namespace

AttachedThreadMemory::AttachedThreadMemory(const CmpiContext& context)
    : context_(context), entry_(nullptr) {
  if (context.isNull() || context.getEnc()->ft == nullptr) return;
  const std::uintptr_t word = wordAfterTable(context.getEnc()->ft);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): looked at as a number until it is known to be code
  if (isCode(word)) entry_ = reinterpret_cast<Entry>(word);
}

void AttachedThreadMemory::release() const {
  if (entry_ != nullptr) entry_(context_.getEnc());
}

}  // namespace ORV
