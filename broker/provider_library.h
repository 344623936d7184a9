#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "broker/broker.h"

namespace orv::broker {

/// A shared library with providers, loaded when it is first needed, and factories linked into the
/// program.
class ProviderLibrary {
 public:
  /// `file` is what dlopen gets.
  ProviderLibrary(std::string file, const std::map<std::string, void*>& linkedFactories);

  /// Address of an exported symbol, null when there is none. Linked factories come first and need
  /// no library.
  void* symbol(const std::string& name);

  bool isLinked(const std::string& name) const { return linked_.count(name) != 0; }

  /// Loads the library unless it is. Immediate binding; its symbols stay its own, unlike in the
  /// object manager, so that test libraries cannot take one another's symbols. Returns an empty
  /// text or what the loader says.
  std::string open();
  void close();

  const std::string& file() const { return file_; }

  /// Held while a factory of this library runs, by the thread that runs it.
  std::recursive_mutex& factoryMutex() { return factoryMutex_; }

 private:
  const std::string file_;
  const std::map<std::string, void*>& linked_;
  std::recursive_mutex factoryMutex_;
  void* handle_ = nullptr;  // guarded by factoryMutex_
};

/// File of a section's library, as Broker::Options tells.
std::string libraryFile(const Broker::Options& options, const std::string& location);

}  // namespace orv::broker
