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
  /// Without a file its classes are not served. The second file is the library of the computer
  /// system and its hardware.
  explicit LoadedLibrary(const std::string& libraryFile, const std::string& hostLibraryFile = "")
      : broker_(options(libraryFile, hostLibraryFile)) {}
  /// Stops the library's threads; the library itself stays.
  ~LoadedLibrary() { broker_.shutdown(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  broker::TestBroker& operator*() { return broker_; }
  broker::TestBroker* operator->() { return &broker_; }

 private:
  static broker::Broker::Options options(const std::string& libraryFile,
                                         const std::string& hostLibraryFile) {
    const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
    broker::Broker::Options options;
    options.namespaces["root/cimv2"] = std::make_shared<const broker::ClassRepository>(
        hostLibraryFile.empty() ? broker::loadSchema(schema) : bothSchemas());
    const auto add = [&](const std::string& location, const std::string& file,
                         const std::string& registration) {
      if (file.empty()) return;
      options.libraries[location] = file;
      for (auto& section : broker::readRegistrationFile(registration)) {
        options.registration.push_back(std::move(section));
      }
    };
    add("orvprovider", libraryFile, schema + "/orvprovider.reg");
    add("orvhost", hostLibraryFile, schema + "/host/orvhost.reg");
    return options;
  }

  broker::TestBroker broker_;
};

}  // namespace orv::test
