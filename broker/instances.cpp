#include "broker/instances.h"

#include "broker/broker_state.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

std::shared_ptr<const ClassLayout> layoutOf(const std::string& nameSpace,
                                            const std::string& className) {
  const auto broker = currentBroker();
  return broker ? broker->layout(nameSpace, className) : nullptr;
}

CMPIData getProperty(const InstanceObject& self, const char* name, CMPIStatus* out) {
  const Value* value = name != nullptr ? self.data.get(name) : nullptr;
  if (value != nullptr) return toData(*value);
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return notFoundData();
}

CMPIData getPropertyAt(const InstanceObject& self, CMPICount index, CMPIString** name,
                       CMPIStatus* out) {
  const auto [foundName, value] = self.data.at(index);
  if (value == nullptr) {
    answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    return notFoundData();
  }
  if (name != nullptr) *name = makeString(*foundName);
  return toData(*value);
}

CMPICount getPropertyCount(const InstanceObject& self, CMPIStatus* /*out*/) {
  return static_cast<CMPICount>(self.data.count());
}

CMPIStatus setPropertySlot(InstanceObject& self, const char* name, const CMPIValue* value,
                           CMPIType type) {
  return setProperty(self.data, name, value, type);
}

CMPIObjectPath* getObjectPath(const InstanceObject& self, CMPIStatus* out) {
  const auto path = self.data.objectPath();
  if (path) return makePath(PathData::of(*path));
  answer(out, CMPI_RC_ERR_INVALID_CLASS);
  return nullptr;
}

CMPIStatus setPropertyFilter(InstanceObject& self, const char** properties, const char** /*keys*/) {
  if (const auto listed = textList(properties)) self.data.applyFilter(*listed);
  return status(CMPI_RC_OK);
}

CMPIStatus setObjectPath(InstanceObject& self, const CMPIObjectPath* source) {
  const PathObject* path = PathObject::own(source);
  if (path == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const ObjectPath plain = path->data.toPlain();
  self.data.setObjectPath(plain, layoutOf(plain.nameSpace, plain.className));
  return status(CMPI_RC_OK);
}

std::string declaredTypeName(const InstanceData& instance, const char* name) {
  const Value* current = instance.get(name);
  return current != nullptr ? typeName(current->type) : "undeclared";
}

}  // namespace

CMPIInstanceFT InstanceObject::table = {1,
                                        slot<releaseObject<InstanceObject>>,
                                        slot<cloneObject<InstanceObject>>,
                                        slot<getProperty>,
                                        slot<getPropertyAt>,
                                        slot<getPropertyCount>,
                                        slot<setPropertySlot>,
                                        slot<getObjectPath>,
                                        slot<setPropertyFilter>,
                                        slot<setObjectPath>,
                                        nullptr};

CMPIInstance* makeInstance(InstanceData data) {
  return makeObject<InstanceObject>(std::move(data));
}

CMPIInstance* makeInstance(const Instance& plain) {
  return makeInstance(InstanceData(plain, layoutOf(plain.path.nameSpace, plain.path.className)));
}

CMPIInstance* newInstance(const CMPIObjectPath* path, CMPIStatus* out) {
  const PathObject* own = PathObject::own(path);
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
