#include "tool/session.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <system_error>
#include <utility>

#include "broker/mof_reader.h"
#include "tool/errors.h"
#include "tool/host_file.h"
#include "tool/locations.h"
#include "tool/readable_text.h"

namespace orv::tool {
namespace {

namespace fs = std::filesystem;
using broker::RegistrationSection;

std::shared_ptr<const broker::ClassRepository> readClasses(
    const std::vector<std::string>& directories) {
  auto classes = std::make_shared<broker::ClassRepository>();
  try {
    broker::MofReader reader(*classes);
    for (const std::string& directory : directories) reader.readDirectory(directory);
  } catch (const broker::MofError& e) {
    throw BadInput(oneLine(e.what()));
  }
  return classes;
}

std::vector<std::string> registrationFiles(const std::vector<std::string>& directories) {
  std::vector<std::string> files;
  for (const std::string& directory : directories) {
    std::vector<std::string> here;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
      if (entry.path().extension() == ".reg") here.push_back(entry.path().string());
    }
    if (here.empty()) throw BadInput(directory + ": directory holds no *.reg file");
    std::sort(here.begin(), here.end());
    files.insert(files.end(), here.begin(), here.end());
  }
  return files;
}

std::vector<RegistrationSection> readRegistrations(const std::vector<std::string>& directories) {
  std::vector<RegistrationSection> sections;
  try {
    for (const std::string& file : registrationFiles(directories)) {
      auto more = broker::readRegistrationFile(file);
      std::move(more.begin(), more.end(), std::back_inserter(sections));
    }
  } catch (const broker::RegistrationError& e) {
    throw BadInput(oneLine(e.what()));
  }
  return sections;
}

bool exportsAFactory(void* library, const std::vector<RegistrationSection>& sections) {
  constexpr const char* kKinds[] = {"Instance", "Association", "Indication", "Method"};
  return std::any_of(sections.begin(), sections.end(), [&](const RegistrationSection& section) {
    return std::any_of(std::begin(kKinds), std::end(kKinds), [&](const char* kind) {
      return dlsym(library, (section.provider + "_Create_" + kind + "MI").c_str()) != nullptr;
    });
  });
}

// Loads the library to check that it is a provider library. It stays loaded for the broker.
void checkLibrary(const std::string& file, const std::vector<RegistrationSection>& sections) {
  std::error_code error;
  if (!fs::is_regular_file(file, error)) throw BadInput("library " + file + " is not there");
  void* library = dlopen(fs::absolute(file).c_str(), RTLD_LAZY | RTLD_LOCAL);
  if (library == nullptr) {
    const char* reason = dlerror();
    throw BadInput("library " + file +
                   " cannot be loaded: " + oneLine(reason != nullptr ? reason : "unknown reason"));
  }
  if (!exportsAFactory(library, sections)) {
    throw BadInput(
        "library " + file +
        " is not a provider library: it has none of the registered providers' factories");
  }
}

// The file for each location: the one named after it, else the first.
std::map<std::string, std::string> librariesOf(const std::vector<RegistrationSection>& sections,
                                               const std::vector<std::string>& files) {
  std::map<std::string, std::string> libraries;
  for (const RegistrationSection& section : sections) {
    const auto named = std::find_if(files.begin(), files.end(), [&](const std::string& file) {
      return fs::path(file).filename() == "lib" + section.location + ".so";
    });
    const std::string& file = named == files.end() ? files.front() : *named;
    libraries[section.location] = fs::absolute(file).string();
  }
  return libraries;
}

constexpr const char* kHostLocation = "orvhost";

// Whether the library of the computer system and its hardware is used: it is given, or no library
// is given and it is installed.
bool usesHostLibrary(const SessionOptions& options) {
  if (options.libraries.empty()) return !defaultHostLibrary(!options.simulate.empty()).empty();
  return std::any_of(options.libraries.begin(), options.libraries.end(), [](const auto& file) {
    return fs::path(file).filename() == "lib" + std::string(kHostLocation) + ".so";
  });
}

std::vector<std::string> schemasOf(const SessionOptions& options) {
  if (!options.schemas.empty()) return options.schemas;
  std::vector<std::string> schemas = {defaultSchema()};
  const fs::path host = fs::path(schemas.front()) / "host";
  std::error_code error;
  if (usesHostLibrary(options) && fs::is_directory(host, error)) schemas.push_back(host.string());
  return schemas;
}

// The given libraries, or else ours: the second one only if its classes are registered.
std::vector<std::string> librariesFor(const SessionOptions& options,
                                      const std::vector<RegistrationSection>& sections) {
  if (!options.libraries.empty()) return options.libraries;
  const bool simulated = !options.simulate.empty();
  std::vector<std::string> libraries = {defaultLibrary(simulated)};
  const bool registered = std::any_of(sections.begin(), sections.end(), [](const auto& section) {
    return section.location == kHostLocation;
  });
  const std::string host = defaultHostLibrary(simulated);
  if (registered && !host.empty()) libraries.push_back(host);
  return libraries;
}

void warn(const std::string& text) { std::cerr << "orvcim: warning: " + text + "\n"; }

void useHostFile(const std::string& path) {
  checkHostFile(path);
  setenv("ORV_HOST_FILE", fs::absolute(path).c_str(), 1);
}

/// Directory of the interop namespace's classes: in one of the schemas, or else in ours.
std::string interopSchema(const std::vector<std::string>& schemas) {
  for (const std::string& schema : schemas) {
    const fs::path directory = fs::path(schema) / "interop";
    std::error_code error;
    if (fs::is_directory(directory, error)) return directory.string();
  }
  return (fs::path(defaultSchema()) / "interop").string();
}

}  // namespace

Session::Session(const SessionOptions& options) {
  const bool simulated = !options.simulate.empty();
  if (simulated) useHostFile(options.simulate);
  const std::vector<std::string> schemas = schemasOf(options);
  classes_ = readClasses(schemas);
  registration_ = readRegistrations(schemas);
  const std::vector<std::string> libraries = librariesFor(options, registration_);
  for (const std::string& library : libraries) checkLibrary(library, registration_);

  broker::Broker::Options setup;
  setup.libraries = librariesOf(registration_, libraries);
  setup.registration = registration_;
  setup.onReport = [tell = options.warn ? options.warn : warn](const broker::Report& report) {
    tell(oneLine(report.toText()));
  };
  for (const RegistrationSection& section : registration_) {
    for (const std::string& nameSpace : section.namespaces) {
      if (nameSpace != "*") namespaces_[nameSpace] = classes_;
    }
  }
  if (options.withInterop) {
    namespaces_["root/interop"] = readClasses({interopSchema(schemas)});
  }
  setup.namespaces = namespaces_;
  broker_ = std::make_unique<broker::Broker>(std::move(setup));
}

Session::~Session() { broker_->shutdown(); }

}  // namespace orv::tool
