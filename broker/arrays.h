#pragma once

#include "broker/object_tools.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// An array of one element type; elements are plain values, null until set.
struct ArrayObject : BrokerObject<ArrayObject, CMPIArray> {
  static constexpr const char* kKind = "array";
  static CMPIArrayFT table;

  ArrayObject(CMPIType type, Value::Array content, bool growing)
      : elementType(type), elements(std::move(content)), grows(growing) {}
  ArrayObject* clone() const { return new ArrayObject(elementType, elements, grows); }

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
