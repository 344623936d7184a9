#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "broker/testing/test_broker.h"
#include "tests/support/simulated_host_file.h"

/// The whole provider library, loaded by the embedded broker as an object manager loads it, with
/// the project's schema and registration. ORV_SOURCE_DIR names the source tree.
namespace orv::test {

class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& libraryFile) : broker_(options(libraryFile)) {}
  /// Stops the library's threads; the library itself stays.
  ~LoadedLibrary() { broker_.shutdown(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  broker::TestBroker& operator*() { return broker_; }
  broker::TestBroker* operator->() { return &broker_; }

 private:
  static broker::Broker::Options options(const std::string& libraryFile) {
    const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
    broker::Broker::Options options;
    options.namespaces["root/cimv2"] =
        std::make_shared<const broker::ClassRepository>(broker::loadSchema(schema));
    options.registration = broker::readRegistrationFile(schema + "/orvprovider.reg");
    options.libraryFile = libraryFile;
    return options;
  }

  broker::TestBroker broker_;
};

}  // namespace orv::test
