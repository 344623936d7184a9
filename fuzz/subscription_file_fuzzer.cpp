#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "broker/mof_reader.h"
#include "serve/subscription_store.h"

namespace {

const orv::broker::ClassRepository& classes() {
  static const orv::broker::ClassRepository read =
      orv::broker::loadSchema(ORV_SOURCE_DIR "/schema/interop");
  return read;
}

}  // namespace

// Any text is a list of objects or damaged; what is read is written as the same list again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::serve;
  try {
    const auto objects = readStore({reinterpret_cast<const char*>(data), size}, classes());
    const std::string text = storeText(objects);
    const auto again = readStore(text, classes());
    if (again.size() != objects.size() || storeText(again) != text) std::abort();
  } catch (const StoreError& error) {
    if (std::string(error.what()).empty()) std::abort();
  }
  return 0;
}
