#pragma once

#include <variant>
#include <vector>

#include "broker/data.h"
#include "broker/heap.h"
#include "broker/instance_data.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// Result of an up-call: instances or paths, taken one by one.
struct EnumerationObject : CMPIEnumeration, HeapEntry {
  using Item = std::variant<InstanceData, PathData>;
  explicit EnumerationObject(std::vector<Item> content);
  std::vector<Item> items;
  std::size_t next = 0;
};

CMPIEnumeration* makeEnumeration(std::vector<EnumerationObject::Item> items);

}  // namespace orv::broker
