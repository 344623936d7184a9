#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "cimxml/response_reader.h"
#include "cimxml/response_writer.h"

// Any bytes are an answer, or a message that is refused for a reason; and what an answer brings can
// be written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::cimxml;
  try {
    const Reply reply = readReply({reinterpret_cast<const char*>(data), size});
    if (reply.failure && !(reply.instances.empty() && reply.paths.empty())) std::abort();
    Call call;
    call.method = "EnumerateInstances";
    ResponseWriter writer(call, {});
    for (const auto& path : reply.paths) writer.objectPath(path);
    for (const auto& instance : reply.instances) writer.instance(instance);
    for (const auto& name : reply.classNames) writer.className(name);
    const Reply again = readReply(writer.finish());
    if (again.instances.size() != reply.instances.size()) std::abort();
    if (again.paths.size() != reply.paths.size()) std::abort();
    if (again.classNames.size() != reply.classNames.size()) std::abort();
  } catch (const BadMessage& bad) {
    if (bad.cimError().empty()) std::abort();
  } catch (const CimError& error) {
    if (error.rc() == CMPI_RC_OK) std::abort();
  }
  return 0;
}
