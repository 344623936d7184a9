#pragma once

#include "broker/heap.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// An array of one element type; elements are plain values, null until set.
struct ArrayObject : CMPIArray, HeapEntry {
  using Record = CMPIArray;
  static constexpr const char* kKind = "array";

  ArrayObject(CMPIType type, Value::Array content, bool growing);
  ArrayObject* clone() const { return new ArrayObject(elementType, elements, grows); }
  /// Null for a null pointer and, with a report, for a foreign record.
  static ArrayObject* own(const Record* record);

  CMPIType elementType;  ///< without the array bit; never chars
  Value::Array elements;
  bool grows;  ///< made with size 0: setting the element after the last one appends
};

/// In the calling thread's memory.
CMPIArray* makeArray(CMPIType elementType, Value::Array elements);

/// An array of `size` null elements; with size 0 a growing array. Null and status 1 for more than
/// 2^20 elements.
CMPIArray* makeArrayOfSize(CMPICount size, CMPIType elementType, CMPIStatus* out);

}  // namespace orv::broker
