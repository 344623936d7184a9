#pragma once

#include <variant>
#include <vector>

#include "broker/data.h"
#include "broker/heap.h"
#include "broker/instance_data.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// The result of an up-call: instances or paths, which the caller gets one by one.
struct EnumerationObject : CMPIEnumeration, HeapEntry {
  using Item = std::variant<InstanceData, PathData>;
  using Record = CMPIEnumeration;
  static constexpr const char* kKind = "enumeration";

  explicit EnumerationObject(std::vector<Item> content);
  EnumerationObject* clone() const { return new EnumerationObject(items); }
  /// Null for a null pointer and, with a report, for a foreign record.
  static EnumerationObject* own(const Record* record);

  std::vector<Item> items;
  std::size_t next = 0;
};

/// In the calling thread's memory.
CMPIEnumeration* makeEnumeration(std::vector<EnumerationObject::Item> items);

}  // namespace orv::broker
