#include "broker/results.h"

#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"

namespace orv::broker {
namespace {

CMPIStatus releaseResult(CMPIResult* /*self*/) {
  report("", "", "releases the broker's result: used by the broker afterwards");
  return status(CMPI_RC_ERR_FAILED);
}

CMPIResult* cloneResult(const CMPIResult* /*self*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return nullptr;
}

/// The name of the first reference key that is null or cannot be read; null when there is none.
const std::string* badReferenceKey(const std::vector<Key>& keys) {
  for (const Key& key : keys) {
    if (key.value.type == CMPI_ref && key.value.content.index() == 0) return &key.name;
  }
  return nullptr;
}

/// Reports a path or instance that cannot be sent because of its keys.
bool refuseKeys(const std::string& className, const std::vector<Key>& keys) {
  const std::string* bad = badReferenceKey(keys);
  if (bad == nullptr) return false;
  report(className, *bad,
         "returned with a null or unreadable reference key: ends the HTTP process");
  return true;
}

/// Reports a result that a mark of the provider will free too early: except in a client's
/// enumeration, results stay in the thread's memory until the operation has ended.
bool refuseInsideMark(const ResultObject& result, const std::string& className) {
  const bool copied = result.use == ResultUse::kClientEnumeration;
  if (copied || ThreadHeap::ofThisThread().depth() <= result.markDepth) return false;
  report(className, "",
         "returns a result inside mark and release: freed before the broker reads it");
  return true;
}

CMPIStatus takeInstance(ResultObject& result, const InstanceData& instance) {
  const auto path = instance.objectPath();
  if (path && refuseKeys(instance.className(), path->keys)) return status(CMPI_RC_ERR_FAILED);
  if (refuseInsideMark(result, instance.className())) return status(CMPI_RC_ERR_FAILED);
  result.sink.instances.push_back(instance);
  return status(CMPI_RC_OK);
}

CMPIStatus missing(const char* what) {
  report("", "", std::string("returns a null ") + what + ": a crash");
  return status(CMPI_RC_ERR_INVALID_PARAMETER);
}

CMPIStatus returnInstance(ResultObject& self, const CMPIInstance* record) {
  if (record == nullptr) return missing("instance");
  const InstanceObject* instance = InstanceObject::own(record);
  if (instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  return takeInstance(self, instance->data);
}

CMPIStatus returnObjectPath(ResultObject& self, const CMPIObjectPath* record) {
  if (record == nullptr) return missing("object path");
  const PathObject* path = PathObject::own(record);
  if (path == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const std::string className = path->data.className.value_or("");
  if (refuseKeys(className, path->data.keys)) return status(CMPI_RC_ERR_FAILED);
  if (refuseInsideMark(self, className)) return status(CMPI_RC_ERR_FAILED);
  self.sink.paths.push_back(path->data);
  return status(CMPI_RC_OK);
}

CMPIStatus returnInstanceAsData(ResultObject& result, const CMPIValue* value) {
  if (value == nullptr || value->inst == nullptr) return missing("instance");
  const InstanceObject* instance = InstanceObject::own(value->inst);
  if (instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const bool lost =
      result.use == ResultUse::kClientEnumeration || result.use == ResultUse::kUpCallEnumeration;
  if (!lost) return takeInstance(result, instance->data);
  report(instance->data.className(), "",
         "returnData with an instance in an enumeration: the instance is lost");
  return status(CMPI_RC_OK);
}

CMPIStatus returnData(ResultObject& self, const CMPIValue* value, CMPIType type) {
  if (type == CMPI_ref) {
    report("", "", "returnData with a reference: ends the process; use returnObjectPath");
    return status(CMPI_RC_ERR_FAILED);
  }
  if (type == CMPI_instance) return returnInstanceAsData(self, value);
  ReadValue read = readValue(value, type);
  report("", "",
         read.complaint.empty()
             ? "returnData with " + typeName(type) + ": no result of such an operation"
             : read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  self.sink.data.push_back(std::move(read.value));
  return status(CMPI_RC_OK);
}

CMPIStatus returnDone(ResultObject& self) {
  ++self.sink.doneCount;
  return status(CMPI_RC_OK);
}

/// Whether the provider is called inside a mark of the broker, as in a client's request.
bool isForClient(ResultUse use) {
  return use == ResultUse::kClientEnumeration || use == ResultUse::kClientGet;
}

}  // namespace

CMPIResultFT ResultObject::table = {1,
                                    slot<releaseResult>,
                                    slot<cloneResult>,
                                    slot<returnData>,
                                    slot<returnInstance>,
                                    slot<returnObjectPath>,
                                    slot<returnDone>,
                                    nullptr};

ResultObject::ResultObject(ResultUse useOfResult)
    : use(useOfResult),
      markDepth(ThreadHeap::ofThisThread().depth() + (isForClient(useOfResult) ? 1 : 0)) {}

ResultObject* makeResult(ResultUse use) { return makeObject<ResultObject>(use); }

}  // namespace orv::broker
