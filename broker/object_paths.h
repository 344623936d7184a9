#pragma once

#include "broker/data.h"
#include "broker/heap.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct PathObject : CMPIObjectPath, HeapEntry {
  explicit PathObject(PathData content);
  PathData data;
};

CMPIObjectPath* makePath(PathData data);

/// Null for a null pointer and, with a report, for a foreign record.
const PathObject* ownPath(const CMPIObjectPath* record);

/// Whether a record with that table is one of our object paths.
bool isPathTable(const CMPIObjectPathFT* table);

/// Adds or replaces a key as the addKey slot does.
CMPIStatus addKey(PathData& path, const std::string& name, const CMPIValue* value, CMPIType type);

}  // namespace orv::broker
