#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "broker/mof_reader.h"

// Any bytes are a schema or an error that names the place; what was read is consistent.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orv::broker::ClassRepository classes;
  orv::broker::MofLimits limits;
  limits.includeDepth = 1;  // no files
  limits.repositoryBytes = 64 * 1024 * 1024;
  try {
    orv::broker::MofReader(classes, limits)
        .readText({reinterpret_cast<const char*>(data), size}, "input");
  } catch (const orv::broker::MofError& e) {
    if (std::string_view(e.what()).rfind("input:", 0) != 0) std::abort();
  }
  for (const orv::broker::ClassDefinition* c : classes.all()) {
    if (classes.find(c->name) != c) std::abort();
    if (!c->superclass.empty() && !classes.isA(c->name, c->superclass)) std::abort();
  }
  return 0;
}
