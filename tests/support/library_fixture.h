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

/// The classes of both libraries.
inline broker::ClassRepository bothSchemas() {
  const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
  broker::ClassRepository classes;
  broker::MofReader reader(classes);
  reader.readDirectory(schema);
  reader.readFile(schema + "/host/orvhost.mof");
  return classes;
}

class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& libraryFile) : broker_(options(libraryFile)) {}
  /// With the second library, of the computer system and its hardware.
  LoadedLibrary(const std::string& libraryFile, const std::string& hostLibraryFile)
      : broker_(bothOptions(libraryFile, hostLibraryFile)) {}
  /// Stops the library's threads; the library itself stays.
  ~LoadedLibrary() { broker_.shutdown(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  broker::TestBroker& operator*() { return broker_; }
  broker::TestBroker* operator->() { return &broker_; }

 private:
  static std::string schema() { return std::string(ORV_SOURCE_DIR) + "/schema"; }

  static broker::Broker::Options options(const std::string& libraryFile) {
    broker::Broker::Options options;
    options.namespaces["root/cimv2"] =
        std::make_shared<const broker::ClassRepository>(broker::loadSchema(schema()));
    options.registration = broker::readRegistrationFile(schema() + "/orvprovider.reg");
    options.libraryFile = libraryFile;
    return options;
  }

  static broker::Broker::Options bothOptions(const std::string& libraryFile,
                                             const std::string& hostLibraryFile) {
    broker::Broker::Options options;
    options.namespaces["root/cimv2"] =
        std::make_shared<const broker::ClassRepository>(bothSchemas());
    options.registration = broker::readRegistrationFile(schema() + "/orvprovider.reg");
    for (auto& section : broker::readRegistrationFile(schema() + "/host/orvhost.reg")) {
      options.registration.push_back(std::move(section));
    }
    options.libraries = {{"orvprovider", libraryFile}, {"orvhost", hostLibraryFile}};
    return options;
  }

  broker::TestBroker broker_;
};

}  // namespace orv::test
