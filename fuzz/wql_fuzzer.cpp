#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "broker/wql.h"

// Any text is a query or refused; a query's condition is decided for an instance without
// properties, and so is each of its normal forms.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::broker;
  try {
    const WqlQuery query = parseWql({reinterpret_cast<const char*>(data), size});
    if (query.className.empty()) std::abort();
    if (!query.condition) return 0;
    WqlSubject subject;
    subject.property = [](const std::string& name) -> std::optional<Value> {
      if (name.size() % 3 == 0) return std::nullopt;
      return name.size() % 3 == 1 ? Value::ofString(name)
                                  : Value::ofUnsigned(CMPI_uint64, name.size());
    };
    subject.isA = [](const std::string& name, const std::string& ancestor) {
      return name == ancestor;
    };
    holds(*query.condition, subject);
    normalForm(*query.condition, true);
    normalForm(*query.condition, false);
  } catch (const WqlError& error) {
    if (std::string(error.what()).empty()) std::abort();
  }
  return 0;
}
