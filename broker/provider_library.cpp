#include "broker/provider_library.h"

#include <dlfcn.h>
#include <sys/stat.h>

namespace orv::broker {
namespace {

bool exists(const std::string& file) {
  struct stat info {};
  return stat(file.c_str(), &info) == 0;
}

/// For a name without a slash dlopen searches its own directories; an existing file of that name is
/// meant instead.
std::string asPath(const std::string& file) {
  return file.find('/') == std::string::npos && exists(file) ? "./" + file : file;
}

}  // namespace

ProviderLibrary::ProviderLibrary(std::string file,
                                 const std::map<std::string, void*>& linkedFactories)
    : file_(std::move(file)), linked_(linkedFactories) {}

std::recursive_mutex& ProviderLibrary::factoryMutex(const std::string& provider) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return factoryMutexes_[provider];
}

std::string ProviderLibrary::open() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (handle_ != nullptr) return "";
  handle_ = dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ != nullptr) return "";
  const char* message = dlerror();
  return message != nullptr ? message : "unknown error of the loader";
}

void* ProviderLibrary::symbol(const std::string& name) {
  const auto place = linked_.find(name);
  if (place != linked_.end()) return place->second;
  const std::lock_guard<std::mutex> lock(mutex_);
  return handle_ != nullptr ? dlsym(handle_, name.c_str()) : nullptr;
}

std::string libraryFile(const Broker::Options& options, const std::string& location) {
  if (!options.libraryFile.empty()) return asPath(options.libraryFile);
  const auto named = options.libraries.find(location);
  if (named != options.libraries.end()) return asPath(named->second);
  return "lib" + location + ".so";
}

}  // namespace orv::broker
