#pragma once

#include <memory>
#include <string>

#include "broker/broker.h"
#include "broker/mof_reader.h"

namespace orv::test {

/// Options of a broker that loads the library of the real host. ORV_SOURCE_DIR and
/// ORV_REAL_LIBRARY name the source tree and the library.
inline broker::Broker::Options realLibrary() {
  const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] =
      std::make_shared<const broker::ClassRepository>(broker::loadSchema(schema));
  options.registration = broker::readRegistrationFile(schema + "/orvprovider.reg");
  options.libraryFile = ORV_REAL_LIBRARY;
  return options;
}

}  // namespace orv::test
