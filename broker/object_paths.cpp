#include "broker/object_paths.h"

#include "broker/broker_state.h"
#include "broker/class_layout.h"
#include "broker/instance_data.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

PathObject* own(CMPIObjectPath* self) { return const_cast<PathObject*>(ownPath(self)); }

CMPIStatus releasePath(CMPIObjectPath* self) { return releaseObject(own(self), "object path"); }

CMPIObjectPath* clonePath(const CMPIObjectPath* self, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  answer(out, path != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return path != nullptr ? new PathObject(path->data) : nullptr;  // the caller releases it
}

using TextMember = std::optional<std::string> PathData::*;

/// Sets one of the texts of a path. A null over a text that is set would be a crash.
CMPIStatus setText(CMPIObjectPath* self, TextMember member, const char* text, const char* slot) {
  PathObject* path = own(self);
  if (path == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (text == nullptr && path->data.*member) {
    report(path->data.className.value_or(""), "", std::string(slot) + " with a null text: a crash");
    return status(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  path->data.*member = textOf(text);
  return status(CMPI_RC_OK);
}

CMPIString* getText(const CMPIObjectPath* self, TextMember member, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  answer(out, path != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return path != nullptr ? makeString(path->data.*member) : nullptr;
}

CMPIStatus setNameSpace(CMPIObjectPath* self, const char* text) {
  return setText(self, &PathData::nameSpace, text, "path.setNameSpace");
}
CMPIString* getNameSpace(const CMPIObjectPath* self, CMPIStatus* out) {
  return getText(self, &PathData::nameSpace, out);
}
CMPIStatus setHostname(CMPIObjectPath* self, const char* text) {
  return setText(self, &PathData::host, text, "path.setHostname");
}
CMPIString* getHostname(const CMPIObjectPath* self, CMPIStatus* out) {
  return getText(self, &PathData::host, out);
}
CMPIStatus setClassName(CMPIObjectPath* self, const char* text) {
  return setText(self, &PathData::className, text, "path.setClassName");
}
CMPIString* getClassName(const CMPIObjectPath* self, CMPIStatus* out) {
  return getText(self, &PathData::className, out);
}

CMPIStatus addKeySlot(CMPIObjectPath* self, const char* name, const CMPIValue* value,
                      CMPIType type) {
  PathObject* path = own(self);
  if (path == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  return addKey(path->data, name, value, type);
}

CMPIData getKey(const CMPIObjectPath* self, const char* name, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  const Key* key = path != nullptr && name != nullptr ? path->data.key(name) : nullptr;
  answer(out, key != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_NOT_FOUND);
  return key != nullptr ? toData(key->value) : notFoundData();
}

CMPIData getKeyAt(const CMPIObjectPath* self, CMPICount index, CMPIString** name, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  const std::size_t count = path != nullptr ? path->data.keys.size() : 0;
  if (index >= count) {
    if (path != nullptr && index == count) {
      report(path->data.className.value_or(""), "",
             "getKeyAt with the number of keys as its index: reads past the end");
    }
    answer(out, CMPI_RC_ERR_NOT_FOUND);
    return notFoundData();
  }
  const Key& key = path->data.keys[index];
  if (name != nullptr) *name = makeString(key.name);
  answer(out, CMPI_RC_OK);
  return toData(key.value);
}

CMPICount getKeyCount(const CMPIObjectPath* self, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  answer(out, path != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return path != nullptr ? static_cast<CMPICount>(path->data.keys.size()) : 0;
}

CMPIStatus setNameSpaceFrom(CMPIObjectPath* self, const CMPIObjectPath* source) {
  PathObject* path = own(self);
  const PathObject* from = ownPath(source);
  if (path == nullptr || from == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  path->data.nameSpace = from->data.nameSpace;
  return status(CMPI_RC_OK);
}

CMPIStatus setHostAndNameSpaceFrom(CMPIObjectPath* self, const CMPIObjectPath* source) {
  PathObject* path = own(self);
  const PathObject* from = ownPath(source);
  if (path == nullptr || from == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  path->data.nameSpace = from->data.nameSpace;
  path->data.host = from->data.host;
  return status(CMPI_RC_OK);
}

const PropertyDefinition* declaredProperty(const PathData& path, const char* name) {
  const auto broker = currentBroker();
  const auto layout =
      broker ? broker->layout(path.nameSpace.value_or(""), path.className.value_or("")) : nullptr;
  return layout && name != nullptr ? layout->definition.property(name) : nullptr;
}

CMPIData getPropertyQualifier(const CMPIObjectPath* self, const char* property,
                              const char* qualifier, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  const PropertyDefinition* declared =
      path != nullptr ? declaredProperty(path->data, property) : nullptr;
  answer(out, CMPI_RC_ERR_NOT_FOUND);
  if (declared == nullptr || qualifier == nullptr) return notFoundData();
  for (const QualifierValue& candidate : declared->qualifiers) {
    if (!sameName(candidate.name, qualifier)) continue;
    answer(out, CMPI_RC_OK);
    return toData(literalValues(candidate.type, candidate.values));
  }
  if (!sameName(qualifier, "key") || !declared->key) return notFoundData();
  answer(out, CMPI_RC_OK);  // inherited
  return toData(Value::ofBoolean(true));
}

CMPIString* pathToString(const CMPIObjectPath* self, CMPIStatus* out) {
  const PathObject* path = ownPath(self);
  answer(out, path != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return path != nullptr ? makeString(referenceText(path->data.toPlain())) : nullptr;
}

CMPIObjectPathFT pathTable = {1,
                              releasePath,
                              clonePath,
                              setNameSpace,
                              getNameSpace,
                              setHostname,
                              getHostname,
                              setClassName,
                              getClassName,
                              addKeySlot,
                              getKey,
                              getKeyAt,
                              getKeyCount,
                              setNameSpaceFrom,
                              setHostAndNameSpaceFrom,
                              nullptr,
                              getPropertyQualifier,
                              nullptr,
                              nullptr,
                              pathToString};

}  // namespace

PathObject::PathObject(PathData content)
    : CMPIObjectPath{nullptr, &pathTable}, data(std::move(content)) {
  hdl = &data;
}

CMPIObjectPath* makePath(PathData data) { return makeObject<PathObject>(std::move(data)); }

const PathObject* ownPath(const CMPIObjectPath* record) {
  return ownObject<PathObject>(record, &pathTable, "object path");
}

bool isPathTable(const CMPIObjectPathFT* table) { return table == &pathTable; }

CMPIStatus addKey(PathData& path, const std::string& name, const CMPIValue* value, CMPIType type) {
  const auto complain = [&path, &name](const std::string& what) {
    report(path.className.value_or(""), name, "key: " + what);
  };
  ReadValue read = readValue(value, type);
  if (!read.complaint.empty()) complain(read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  Key* existing = path.key(name);
  if (existing == nullptr) {
    path.keys.push_back({name, std::move(read.value)});
    return status(CMPI_RC_OK);
  }
  switch (checkType(existing->value.type, read.value.type)) {
    case TypeCheck::kFits:
      existing->value = std::move(read.value);
      return status(CMPI_RC_OK);
    case TypeCheck::kMismatch:
      return status(CMPI_RC_OK);  // Deliberate (contract.md#key-over-string).
    case TypeCheck::kCrash:
      break;
  }
  complain(typeName(read.value.type) + " over " + typeName(existing->value.type) +
           ": a pointer stored as a number, a crash at the next read");
  return status(CMPI_RC_ERR_TYPE_MISMATCH);
}

}  // namespace orv::broker
