#pragma once

#include "broker/data.h"
#include "broker/object_tools.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct PathObject : BrokerObject<PathObject, CMPIObjectPath> {
  static constexpr const char* kKind = "object path";
  static CMPIObjectPathFT table;

  explicit PathObject(PathData content) : data(std::move(content)) {}
  PathObject* clone() const { return new PathObject(data); }

  PathData data;
};

/// In the calling thread's memory.
CMPIObjectPath* makePath(PathData data);

/// Adds or replaces a key as the addKey slot does.
CMPIStatus addKey(PathData& path, const std::string& name, const CMPIValue* value, CMPIType type);

}  // namespace orv::broker
