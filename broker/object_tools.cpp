#include "broker/object_tools.h"

namespace orv::broker {

CMPIStatus releaseEntry(HeapEntry& entry, const char* kind) {
  const auto outcome = ThreadHeap::release(&entry);
  if (outcome == ThreadHeap::ReleaseOutcome::kFreed) return status(CMPI_RC_OK);
  const bool foreign = outcome == ThreadHeap::ReleaseOutcome::kOtherThread;
  report("", "",
         std::string("releases a ") + kind + " of another " + (foreign ? "thread" : "memory mark") +
             ": corrupts the heap lists");
  return status(CMPI_RC_ERR_FAILED);
}

}  // namespace orv::broker
