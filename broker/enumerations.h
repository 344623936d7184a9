#pragma once

#include <variant>
#include <vector>

#include "broker/data.h"
#include "broker/instance_data.h"
#include "broker/object_tools.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// The result of an up-call: instances or paths, which the caller gets one by one.
struct EnumerationObject : BrokerObject<EnumerationObject, CMPIEnumeration> {
  using Item = std::variant<InstanceData, PathData>;
  static constexpr const char* kKind = "enumeration";
  static CMPIEnumerationFT table;

  explicit EnumerationObject(std::vector<Item> content) : items(std::move(content)) {}
  EnumerationObject* clone() const { return new EnumerationObject(items); }

  std::vector<Item> items;
  std::size_t next = 0;
};

/// In the calling thread's memory.
CMPIEnumeration* makeEnumeration(std::vector<EnumerationObject::Item> items);

}  // namespace orv::broker
