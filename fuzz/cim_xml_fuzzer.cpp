#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "cimxml/request_reader.h"
#include "cimxml/response_writer.h"

// Any bytes are a call with a method, or a message that is refused for a reason; and an instance
// that a call brings can be answered and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::cimxml;
  try {
    const Call call = readCall({reinterpret_cast<const char*>(data), size});
    if (call.method.empty()) std::abort();
    ResponseWriter writer(call, {});
    for (const auto& [name, parameter] : call.parameters) {
      if (parameter.objectName) writer.objectPath(*parameter.objectName);
      if (parameter.instance) writer.instance(*parameter.instance);
    }
    if (writer.finish(call.failure).find("SIMPLERSP") == std::string::npos) std::abort();
  } catch (const BadMessage& bad) {
    if (bad.cimError().empty()) std::abort();
  }
  return 0;
}
