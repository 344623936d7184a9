#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cmpi/abi/cmpi_tables.h"

/// Hardware of the monitored classes inside the test program, served by a provider of the embedded
/// broker (provider name ScriptedHardware).
namespace orv::test {

struct ScriptedKey {
  std::string name;
  std::string value;
  bool isNumber = false;  ///< set as uint32
  bool isNull = false;
};

struct ScriptedElement {
  std::vector<ScriptedKey> keys;
  std::optional<std::uint16_t> healthState;
  bool stateIsText = false;  ///< HealthState is set as a text
};

/// A device with the four keys that its class declares.
ScriptedElement device(const std::string& className, const std::string& id,
                       std::optional<std::uint16_t> healthState);

/// One enumeration that reached the provider.
struct ScriptedCall {
  std::string nameSpace;
  std::string className;
  bool hasPropertyList = false;

  bool operator==(const ScriptedCall& other) const {
    return nameSpace == other.nameSpace && className == other.className &&
           hasPropertyList == other.hasPropertyList;
  }
};

/// Safe from any thread.
class ScriptedHardware {
 public:
  void clear();
  void set(const std::string& className, std::vector<ScriptedElement> elements);
  /// Enumerations of the class return what they have and then fail.
  void fail(const std::string& className, CMPIrc rc);
  /// Called at the beginning of every enumeration, in its thread and without a lock.
  void onCall(std::function<void(const std::string& className)> callback);

  std::vector<ScriptedCall> calls() const;

  // For the provider.
  std::vector<ScriptedElement> enter(const ScriptedCall& call, CMPIrc& rc);

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::vector<ScriptedElement>> elements_;
  std::map<std::string, CMPIrc> failures_;
  std::vector<ScriptedCall> calls_;
  std::function<void(const std::string&)> callback_;
};

/// The one that the provider serves; never destroyed.
ScriptedHardware& scriptedHardware();

}  // namespace orv::test

extern "C" CMPIInstanceMI* ScriptedHardware_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                              CMPIStatus*);
