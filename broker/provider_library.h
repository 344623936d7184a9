#pragma once

#include <map>
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

  const std::string& file() const { return file_; }

  /// Held while a factory of that provider name runs, by the thread that runs it. Factories of
  /// other names may run at the same time: one may wait for a thread whose up-call loads another.
  std::recursive_mutex& factoryMutex(const std::string& provider);

 private:
  const std::string file_;
  const std::map<std::string, void*>& linked_;
  std::mutex mutex_;  // guards the members below; never held while a factory runs
  std::map<std::string, std::recursive_mutex> factoryMutexes_;
  void* handle_ = nullptr;
};

/// File of a section's library, as Broker::Options says.
std::string libraryFile(const Broker::Options& options, const std::string& location);

}  // namespace orv::broker
