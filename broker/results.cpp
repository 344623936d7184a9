#include "broker/results.h"

#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"

namespace orv::broker {
namespace {

extern CMPIResultFT resultTable;

ResultObject* own(const CMPIResult* self) {
  return const_cast<ResultObject*>(
      ownObject<ResultObject>(self, static_cast<const CMPIResultFT*>(&resultTable), "result"));
}

CMPIStatus releaseResult(CMPIResult* /*self*/) {
  report("", "", "releases the broker's result: used by the broker afterwards");
  return status(CMPI_RC_ERR_FAILED);
}

CMPIResult* cloneResult(const CMPIResult* /*self*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return nullptr;
}

/// Name of the first reference key that is null or cannot be read; null when all are well.
const std::string* badReferenceKey(const std::vector<Key>& keys) {
  for (const Key& key : keys) {
    if (key.value.type == CMPI_ref && key.value.content.index() == 0) return &key.name;
  }
  return nullptr;
}

/// A path or instance that cannot be sent.
bool refuseKeys(const std::string& className, const std::vector<Key>& keys) {
  const std::string* bad = badReferenceKey(keys);
  if (bad == nullptr) return false;
  report(className, *bad,
         "returned with a null or unreadable reference key: ends the HTTP process");
  return true;
}

/// Results of getInstance and up-calls stay in this thread's memory until the operation has ended.
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

CMPIStatus returnInstance(const CMPIResult* self, const CMPIInstance* record) {
  ResultObject* result = own(self);
  if (record == nullptr) return missing("instance");
  const InstanceObject* instance = ownInstance(record);
  if (result == nullptr || instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  return takeInstance(*result, instance->data);
}

CMPIStatus returnObjectPath(const CMPIResult* self, const CMPIObjectPath* record) {
  ResultObject* result = own(self);
  if (record == nullptr) return missing("object path");
  const PathObject* path = ownPath(record);
  if (result == nullptr || path == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const std::string className = path->data.className.value_or("");
  if (refuseKeys(className, path->data.keys)) return status(CMPI_RC_ERR_FAILED);
  if (refuseInsideMark(*result, className)) return status(CMPI_RC_ERR_FAILED);
  result->sink.paths.push_back(path->data);
  return status(CMPI_RC_OK);
}

CMPIStatus returnInstanceAsData(ResultObject& result, const CMPIValue* value) {
  if (value == nullptr || value->inst == nullptr) return missing("instance");
  const InstanceObject* instance = ownInstance(value->inst);
  if (instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const bool lost =
      result.use == ResultUse::kClientEnumeration || result.use == ResultUse::kUpCallEnumeration;
  if (!lost) return takeInstance(result, instance->data);
  report(instance->data.className(), "",
         "returnData with an instance in an enumeration: the instance is lost");
  return status(CMPI_RC_OK);
}

CMPIStatus returnData(const CMPIResult* self, const CMPIValue* value, CMPIType type) {
  ResultObject* result = own(self);
  if (result == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (type == CMPI_ref) {
    report("", "", "returnData with a reference: ends the process; use returnObjectPath");
    return status(CMPI_RC_ERR_FAILED);
  }
  if (type == CMPI_instance) return returnInstanceAsData(*result, value);
  ReadValue read = readValue(value, type);
  report("", "",
         read.complaint.empty()
             ? "returnData with " + typeName(type) + ": no result of such an operation"
             : read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  result->sink.data.push_back(std::move(read.value));
  return status(CMPI_RC_OK);
}

CMPIStatus returnDone(const CMPIResult* self) {
  ResultObject* result = own(self);
  if (result == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  ++result->sink.doneCount;
  return status(CMPI_RC_OK);
}

/// A client's request runs inside a mark of the broker's own.
bool isForClient(ResultUse use) {
  return use == ResultUse::kClientEnumeration || use == ResultUse::kClientGet;
}

CMPIResultFT resultTable = {1,          releaseResult,  cloneResult,
                            returnData, returnInstance, returnObjectPath,
                            returnDone, nullptr};

}  // namespace

ResultObject::ResultObject(ResultUse useOfResult)
    : CMPIResult{this, &resultTable},
      use(useOfResult),
      markDepth(ThreadHeap::ofThisThread().depth() + (isForClient(useOfResult) ? 1 : 0)) {}

ResultObject* makeResult(ResultUse use) { return makeObject<ResultObject>(use); }

}  // namespace orv::broker
