#include "broker/instances.h"

#include "broker/broker_state.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

InstanceObject* own(CMPIInstance* self) { return const_cast<InstanceObject*>(ownInstance(self)); }

std::shared_ptr<const ClassLayout> layoutOf(const std::string& nameSpace,
                                            const std::string& className) {
  const auto broker = currentBroker();
  return broker ? broker->layout(nameSpace, className) : nullptr;
}

CMPIStatus releaseInstance(CMPIInstance* self) { return releaseObject(own(self), "instance"); }

CMPIInstance* cloneInstance(const CMPIInstance* self, CMPIStatus* out) {
  const InstanceObject* instance = ownInstance(self);
  answer(out, instance != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return instance != nullptr ? new InstanceObject(instance->data) : nullptr;  // caller releases it
}

CMPIData getProperty(const CMPIInstance* self, const char* name, CMPIStatus* out) {
  const InstanceObject* instance = ownInstance(self);
  const Value* value = instance != nullptr && name != nullptr ? instance->data.get(name) : nullptr;
  answer(out, value != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return value != nullptr ? toData(*value) : notFoundData();
}

CMPIData getPropertyAt(const CMPIInstance* self, CMPICount index, CMPIString** name,
                       CMPIStatus* out) {
  const InstanceObject* instance = ownInstance(self);
  std::pair<const std::string*, const Value*> found{nullptr, nullptr};
  if (instance != nullptr) found = instance->data.at(index);
  answer(out, found.second != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_NO_SUCH_PROPERTY);
  if (found.second == nullptr) return notFoundData();
  if (name != nullptr) *name = makeString(*found.first);
  return toData(*found.second);
}

CMPICount getPropertyCount(const CMPIInstance* self, CMPIStatus* out) {
  const InstanceObject* instance = ownInstance(self);
  answer(out, instance != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return instance != nullptr ? static_cast<CMPICount>(instance->data.count()) : 0;
}

CMPIStatus setPropertySlot(const CMPIInstance* self, const char* name, const CMPIValue* value,
                           CMPIType type) {
  auto* instance = const_cast<InstanceObject*>(ownInstance(self));
  if (instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  return setProperty(instance->data, name, value, type);
}

CMPIObjectPath* getObjectPath(const CMPIInstance* self, CMPIStatus* out) {
  const InstanceObject* instance = ownInstance(self);
  const auto path = instance != nullptr ? instance->data.objectPath() : std::nullopt;
  answer(out, path ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_CLASS);
  return path ? makePath(PathData::of(*path)) : nullptr;
}

CMPIStatus setPropertyFilter(CMPIInstance* self, const char** properties, const char** /*keys*/) {
  InstanceObject* instance = own(self);
  if (instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (const auto listed = textList(properties)) instance->data.applyFilter(*listed);
  return status(CMPI_RC_OK);
}

CMPIStatus setObjectPath(CMPIInstance* self, const CMPIObjectPath* source) {
  InstanceObject* instance = own(self);
  const PathObject* path = ownPath(source);
  if (instance == nullptr || path == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const ObjectPath plain = path->data.toPlain();
  instance->data.setObjectPath(plain, layoutOf(plain.nameSpace, plain.className));
  return status(CMPI_RC_OK);
}

CMPIInstanceFT instanceTable = {1,
                                releaseInstance,
                                cloneInstance,
                                getProperty,
                                getPropertyAt,
                                getPropertyCount,
                                setPropertySlot,
                                getObjectPath,
                                setPropertyFilter,
                                setObjectPath,
                                nullptr};

std::string declaredTypeName(const InstanceData& instance, const char* name) {
  const Value* current = instance.get(name);
  return current != nullptr ? typeName(current->type) : "undeclared";
}

}  // namespace

InstanceObject::InstanceObject(InstanceData content)
    : CMPIInstance{nullptr, &instanceTable}, data(std::move(content)) {
  hdl = &data;
}

CMPIInstance* makeInstance(InstanceData data) {
  return makeObject<InstanceObject>(std::move(data));
}

CMPIInstance* makeInstance(const Instance& plain) {
  return makeInstance(InstanceData(plain, layoutOf(plain.path.nameSpace, plain.path.className)));
}

CMPIInstance* newInstance(const CMPIObjectPath* path, CMPIStatus* out) {
  const PathObject* own = ownPath(path);
  if (own == nullptr) {
    if (path == nullptr) report("", "", "newInstance without an object path: a crash");
    answer(out, CMPI_RC_ERR_INVALID_PARAMETER);
    return nullptr;
  }
  const std::string nameSpace = own->data.nameSpace.value_or("");
  const std::string className = own->data.className.value_or("");
  InstanceData data(nameSpace, className, layoutOf(nameSpace, className));
  for (const Key& key : own->data.keys) {
    if (data.set(key.name, key.value) == InstanceData::SetOutcome::kCrash) {
      report(className, key.name,
             "newInstance with a key of type " + typeName(key.value.type) +
                 " for a property of type " + declaredTypeName(data, key.name.c_str()) +
                 ": a crash");
    }
  }
  answer(out, CMPI_RC_OK);
  return makeInstance(std::move(data));
}

const InstanceObject* ownInstance(const CMPIInstance* record) {
  return ownObject<InstanceObject>(record, &instanceTable, "instance");
}

bool isInstanceTable(const CMPIInstanceFT* table) { return table == &instanceTable; }

CMPIStatus setProperty(InstanceData& instance, const char* name, const CMPIValue* value,
                       CMPIType type) {
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  ReadValue read = readValue(value, type);
  if (!read.complaint.empty()) report(instance.className(), name, read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  const CMPIType newType = read.value.type;
  switch (instance.setByProvider(name, std::move(read.value))) {
    case InstanceData::SetOutcome::kStored:
    case InstanceData::SetOutcome::kDropped:
      return status(CMPI_RC_OK);
    case InstanceData::SetOutcome::kMismatch:
      return status(CMPI_RC_ERR_TYPE_MISMATCH);
    case InstanceData::SetOutcome::kCrash:
      break;
  }
  report(instance.className(), name,
         typeName(newType) + " over " + declaredTypeName(instance, name) +
             ": a pointer stored as a number, a crash at the next read");
  return status(CMPI_RC_ERR_TYPE_MISMATCH);
}

std::optional<std::vector<std::string>> textList(const char** list) {
  if (list == nullptr) return std::nullopt;
  std::vector<std::string> texts;
  for (; *list != nullptr; ++list) texts.emplace_back(*list);
  return texts;
}

}  // namespace orv::broker
