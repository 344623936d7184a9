#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/linux/hardware/smart_logs.h"

// The first byte chooses who gets the others: an NVMe log, an ATA disk's SMART data, a SCSI log
// page, sense data. Whatever they are, the decoders answer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace LinuxHost;
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  Hardware::Disk disk;
  switch (data[0] % 4) {
    case 0:
      decodeNvmeSmart(bytes, disk);
      if (disk.criticalWarning.has_value() != (bytes.size() >= 512)) std::abort();
      break;
    case 1:
      decodeAtaSmart(bytes, disk);
      break;
    case 2:
      decodeScsiExceptions(bytes, disk);
      if (disk.failurePrediction.size() > 100) std::abort();
      break;
    default:
      if (const auto sense = parseSense(bytes)) tellsStandby(*sense);
      if (const auto registers = ataRegisters(bytes)) smartPassed(*registers);
  }
  return 0;
}
