#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "broker/broker.h"

namespace orv::broker {

/// A shared library with providers, which is loaded when it is first needed, and the factories that
/// are linked into the program. Thread-safe.
class ProviderLibrary {
 public:
  /// `file` is the argument for dlopen; `linkedFactories` must outlive the object.
  ProviderLibrary(std::string file, const std::map<std::string, void*>& linkedFactories);

  /// Address of an exported symbol; null when there is none or the library is not loaded. Linked
  /// factories take precedence and need no library.
  void* symbol(const std::string& name);

  bool isLinked(const std::string& name) const { return linked_.count(name) != 0; }

  /// Loads the library unless it is loaded. Binding is immediate; unlike in the object manager,
  /// symbols are local, so that libraries of tests cannot resolve symbols from one another. Returns
  /// the loader's error, or an empty text.
  std::string open();

  const std::string& file() const { return file_; }

  /// The mutex that a thread holds while it runs a factory of that provider name. Factories of
  /// other names may run at the same time: one may wait for a thread whose up-call loads another.
  std::recursive_mutex& factoryMutex(const std::string& provider);

 private:
  const std::string file_;
  const std::map<std::string, void*>& linked_;
  std::mutex mutex_;  // guards the members below; not held while a factory runs
  std::map<std::string, std::recursive_mutex> factoryMutexes_;
  void* handle_ = nullptr;
};

/// The library file for a location, as Broker::Options describes.
std::string libraryFile(const Broker::Options& options, const std::string& location);

}  // namespace orv::broker
