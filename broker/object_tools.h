#pragma once

#include <string>

#include "broker/heap.h"
#include "broker/thread_state.h"

/// What the slots of all object tables do alike.
namespace orv::broker {

/// The object behind a record that a provider passes. Null for a null pointer and, with a report,
/// for a record that is not of this broker's making: the object manager would read its private
/// parts all the same.
template <class Object, class Record, class Table>
const Object* ownObject(const Record* record, const Table* table, const char* kind) {
  if (record == nullptr) return nullptr;
  if (record->ft == table) return static_cast<const Object*>(record);
  report("", "", std::string("passes a ") + kind + " record that the broker did not make: a crash");
  return nullptr;
}

/// The release slot: an object of another thread or of an outer mark stays, with a report.
template <class Object>
CMPIStatus releaseObject(Object* object, const char* kind) {
  if (object == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const auto outcome = ThreadHeap::release(object);
  if (outcome == ThreadHeap::ReleaseOutcome::kFreed) return status(CMPI_RC_OK);
  const bool foreign = outcome == ThreadHeap::ReleaseOutcome::kOtherThread;
  report("", "",
         std::string("releases a ") + kind + " of another " + (foreign ? "thread" : "memory mark") +
             ": corrupts the heap lists");
  return status(CMPI_RC_ERR_FAILED);
}

/// Data of a lookup that found nothing.
inline CMPIData notFoundData() {
  CMPIData data{};
  data.type = CMPI_null;
  data.state = CMPI_notFound;
  return data;
}

}  // namespace orv::broker
