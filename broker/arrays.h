#pragma once

#include "broker/heap.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// An array of one element type; elements are plain values, null until set.
struct ArrayObject : CMPIArray, HeapEntry {
  ArrayObject(CMPIType type, Value::Array content, bool growing);
  CMPIType elementType;  ///< without the array bit; never chars
  Value::Array elements;
  bool grows;  ///< made with size 0: setting the element after the last appends
};

CMPIArray* makeArray(CMPIType elementType, Value::Array elements);

/// `size` null elements; size 0 makes a growing array. Null and status 1 beyond any sensible size.
CMPIArray* makeArrayOfSize(CMPICount size, CMPIType elementType, CMPIStatus* out);

/// Null for a null pointer and, with a report, for a foreign record.
const ArrayObject* ownArray(const CMPIArray* record);

}  // namespace orv::broker
