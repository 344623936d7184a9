#include "tests/health/scripted_hardware.h"

#include "cmpi/cmpi_instance_mi.h"
#include "framework/factories.h"
#include "framework/text.h"

namespace orv::test {

ScriptedElement device(const std::string& className, const std::string& id,
                       std::optional<std::uint16_t> healthState) {
  return {{{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
           {"SystemName", "host"},
           {"CreationClassName", className},
           {"DeviceID", id}},
          healthState,
          false};
}

void ScriptedHardware::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  elements_.clear();
  failures_.clear();
  calls_.clear();
  callback_ = nullptr;
}

void ScriptedHardware::set(const std::string& className, std::vector<ScriptedElement> elements) {
  const std::lock_guard<std::mutex> lock(mutex_);
  elements_[className] = std::move(elements);
}

void ScriptedHardware::fail(const std::string& className, CMPIrc rc) {
  const std::lock_guard<std::mutex> lock(mutex_);
  failures_[className] = rc;
}

void ScriptedHardware::onCall(std::function<void(const std::string& className)> callback) {
  const std::lock_guard<std::mutex> lock(mutex_);
  callback_ = std::move(callback);
}

std::vector<ScriptedCall> ScriptedHardware::calls() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return calls_;
}

std::vector<ScriptedElement> ScriptedHardware::enter(const ScriptedCall& call, CMPIrc& rc) {
  std::unique_lock<std::mutex> lock(mutex_);
  constexpr std::size_t kCallsKept = 1000;
  if (calls_.size() < kCallsKept) calls_.push_back(call);
  if (callback_) {
    const auto callback = callback_;
    lock.unlock();
    callback(call.className);
    lock.lock();
  }
  const auto failure = failures_.find(call.className);
  rc = failure == failures_.end() ? CMPI_RC_OK : failure->second;
  const auto found = elements_.find(call.className);
  return found == elements_.end() ? std::vector<ScriptedElement>() : found->second;
}

ScriptedHardware& scriptedHardware() {
  static auto* const hardware = new ScriptedHardware;
  return *hardware;
}

namespace {

class Provider : public CmpiInstanceMI {
 public:
  Provider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  CmpiStatus enumInstances(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                           const char** properties) override {
    CMPIrc rc = CMPI_RC_OK;
    const ScriptedCall call{ORV::nameSpaceOf(path), ORV::classNameOf(path), properties != nullptr};
    for (const ScriptedElement& element : scriptedHardware().enter(call, rc)) {
      result.returnData(makeInstance(call, element));
    }
    result.returnDone();
    return rc == CMPI_RC_OK ? CmpiStatus() : CmpiStatus(rc, "scripted failure");
  }

  bool isUnloadable() const override { return false; }

 private:
  static CmpiInstance makeInstance(const ScriptedCall& call, const ScriptedElement& element) {
    CmpiInstance instance(CmpiObjectPath(call.nameSpace.c_str(), call.className.c_str()));
    for (const ScriptedKey& key : element.keys) setKey(instance, key);
    if (element.stateIsText) {
      instance.setProperty("HealthState", CmpiData("bad"));
    } else if (element.healthState) {
      instance.setProperty("HealthState", CmpiData(CMPIUint16{*element.healthState}));
    }
    return instance;
  }

  static void setKey(CmpiInstance& instance, const ScriptedKey& key) {
    if (key.isNull) return;  // a declared key that is not set is a key without a value
    if (key.isNumber) {
      instance.setProperty(key.name.c_str(), CmpiData(CMPIUint32(std::stoul(key.value))));
    } else {
      instance.setProperty(key.name.c_str(), CmpiData(key.value.c_str()));
    }
  }
};

}  // namespace

}  // namespace orv::test

ORV_PROVIDER_BASE(ScriptedHardware);
ORV_INSTANCE_FACTORY(ScriptedHardware, orv::test::Provider)
