#include "tool/session.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
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

std::shared_ptr<const broker::ClassRepository> readClasses(const std::string& schema) {
  try {
    return std::make_shared<const broker::ClassRepository>(broker::loadSchema(schema));
  } catch (const broker::MofError& e) {
    throw BadInput(e.what());
  }
}

std::vector<RegistrationSection> readRegistrations(const std::string& schema) {
  std::vector<std::string> files;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(schema, error)) {
    if (entry.path().extension() == ".reg") files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  if (files.empty()) throw BadInput(schema + ": directory holds no *.reg file");
  std::vector<RegistrationSection> sections;
  for (const std::string& file : files) {
    try {
      auto more = broker::readRegistrationFile(file);
      std::move(more.begin(), more.end(), std::back_inserter(sections));
    } catch (const broker::RegistrationError& e) {
      throw BadInput(e.what());
    }
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

// Loads the library to see whether it is one; the broker loads the same one then. It stays loaded.
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

void warn(const broker::Report& report) {
  std::cerr << "orvcim: warning: " + oneLine(report.toText()) + "\n";
}

}  // namespace

Session::Session(const Options& options) {
  const std::string schema = options.schema.empty() ? defaultSchema() : options.schema;
  const bool simulated = !options.simulate.empty();
  if (simulated) {
    checkHostFile(options.simulate);
    setenv("ORV_HOST_FILE", fs::absolute(options.simulate).c_str(), 1);
  }
  classes_ = readClasses(schema);
  registration_ = readRegistrations(schema);
  const std::string library = options.library.empty() ? defaultLibrary(simulated) : options.library;
  checkLibrary(library, registration_);

  broker::Broker::Options setup;
  setup.libraryFile = fs::absolute(library).string();
  setup.registration = registration_;
  setup.onReport = warn;
  for (const RegistrationSection& section : registration_) {
    for (const std::string& nameSpace : section.namespaces) {
      if (nameSpace != "*") setup.namespaces[nameSpace] = classes_;
    }
  }
  broker_ = std::make_unique<broker::Broker>(std::move(setup));
}

Session::~Session() { broker_->shutdown(); }

}  // namespace orv::tool
