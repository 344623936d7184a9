#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/mof_reader.h"

/// The project's own schema, as the embedded broker loads it.
inline orv::broker::ClassRepository ourSchema() {
  return orv::broker::loadSchema(std::string(ORV_SOURCE_DIR) + "/schema");
}
