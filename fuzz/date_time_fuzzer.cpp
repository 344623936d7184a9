#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "broker/date_times.h"

// Any text is a date-time of 25 characters or refused; what is read reads the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::broker;
  const auto read = parseDateTime({reinterpret_cast<const char*>(data), size});
  if (!read) return 0;
  if (read->text.size() != 25) std::abort();
  const auto again = parseDateTime(read->text);
  if (!again || *again != *read) std::abort();
  const DateTime binary = dateTimeFromBinary(read->microseconds, read->interval);
  if (binary.text.size() != 25) std::abort();
  return 0;
}
