#pragma once

#include "broker/data.h"
#include "broker/heap.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct PathObject : CMPIObjectPath, HeapEntry {
  using Record = CMPIObjectPath;
  static constexpr const char* kKind = "object path";

  explicit PathObject(PathData content);
  PathObject* clone() const { return new PathObject(data); }
  /// Null for a null pointer and, with a report, for a foreign record.
  static PathObject* own(const Record* record);

  PathData data;
};

/// In the calling thread's memory.
CMPIObjectPath* makePath(PathData data);

/// Whether a record with that table is an object path of this broker.
bool isPathTable(const CMPIObjectPathFT* table);

/// Adds or replaces a key as the addKey slot does.
CMPIStatus addKey(PathData& path, const std::string& name, const CMPIValue* value, CMPIType type);

}  // namespace orv::broker
