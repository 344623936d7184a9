#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/mof_reader.h"

/// The project's own schema, of both libraries, as the embedded broker loads it.
inline orv::broker::ClassRepository ourSchema() {
  orv::broker::ClassRepository classes;
  orv::broker::MofReader reader(classes);
  reader.readDirectory(std::string(ORV_SOURCE_DIR) + "/schema");
  reader.readFile(std::string(ORV_SOURCE_DIR) + "/schema/host/orvhost.mof");
  return classes;
}
