#include "broker/object_paths.h"

#include "broker/broker_state.h"
#include "broker/class_layout.h"
#include "broker/instance_data.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

using TextMember = std::optional<std::string> PathData::*;

template <TextMember member>
CMPIString* getText(const PathObject& self, CMPIStatus* /*out*/) {
  return makeString(self.data.*member);
}

/// Sets one of the texts of a path. Null over an existing text is reported: it would be a crash.
CMPIStatus setText(PathData& path, TextMember member, const char* text, const char* slotName) {
  if (text == nullptr && path.*member) {
    report(path.className.value_or(""), "",
           std::string("path.") + slotName + " with a null text: a crash");
    return status(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  path.*member = textOf(text);
  return status(CMPI_RC_OK);
}

CMPIStatus setNameSpace(PathObject& self, const char* text) {
  return setText(self.data, &PathData::nameSpace, text, "setNameSpace");
}
CMPIStatus setHostname(PathObject& self, const char* text) {
  return setText(self.data, &PathData::host, text, "setHostname");
}
CMPIStatus setClassName(PathObject& self, const char* text) {
  return setText(self.data, &PathData::className, text, "setClassName");
}

CMPIStatus addKeySlot(PathObject& self, const char* name, const CMPIValue* value, CMPIType type) {
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  return addKey(self.data, name, value, type);
}

CMPIData getKey(const PathObject& self, const char* name, CMPIStatus* out) {
  const Key* key = name != nullptr ? self.data.key(name) : nullptr;
  if (key != nullptr) return toData(key->value);
  answer(out, CMPI_RC_ERR_NOT_FOUND);
  return notFoundData();
}

CMPIData getKeyAt(const PathObject& self, CMPICount index, CMPIString** name, CMPIStatus* out) {
  const std::vector<Key>& keys = self.data.keys;
  if (index < keys.size()) {
    if (name != nullptr) *name = makeString(keys[index].name);
    return toData(keys[index].value);
  }
  if (index == keys.size()) {
    report(self.data.className.value_or(""), "",
           "getKeyAt with the number of keys as its index: reads past the end");
  }
  answer(out, CMPI_RC_ERR_NOT_FOUND);
  return notFoundData();
}

CMPICount getKeyCount(const PathObject& self, CMPIStatus* /*out*/) {
  return static_cast<CMPICount>(self.data.keys.size());
}

CMPIStatus setNameSpaceFrom(PathObject& self, const CMPIObjectPath* source) {
  const PathObject* from = PathObject::own(source);
  if (from == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  self.data.nameSpace = from->data.nameSpace;
  return status(CMPI_RC_OK);
}

CMPIStatus setHostAndNameSpaceFrom(PathObject& self, const CMPIObjectPath* source) {
  const PathObject* from = PathObject::own(source);
  if (from == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  self.data.nameSpace = from->data.nameSpace;
  self.data.host = from->data.host;
  return status(CMPI_RC_OK);
}

const PropertyDefinition* declaredProperty(const PathData& path, const char* name) {
  const auto broker = currentBroker();
  const auto layout =
      broker ? broker->layout(path.nameSpace.value_or(""), path.className.value_or("")) : nullptr;
  return layout && name != nullptr ? layout->definition.property(name) : nullptr;
}

CMPIData getPropertyQualifier(const PathObject& self, const char* property, const char* qualifier,
                              CMPIStatus* out) {
  const PropertyDefinition* declared = declaredProperty(self.data, property);
  if (declared != nullptr && qualifier != nullptr) {
    for (const QualifierValue& candidate : declared->qualifiers) {
      if (sameName(candidate.name, qualifier)) {
        return toData(literalValues(candidate.type, candidate.values));
      }
    }
    const bool inherited = declared->key && sameName(qualifier, "key");
    if (inherited) return toData(Value::ofBoolean(true));
  }
  answer(out, CMPI_RC_ERR_NOT_FOUND);
  return notFoundData();
}

CMPIString* pathToString(const PathObject& self, CMPIStatus* /*out*/) {
  return makeString(referenceText(self.data.toPlain()));
}

}  // namespace

CMPIObjectPathFT PathObject::table = {1,
                                      slot<releaseObject<PathObject>>,
                                      slot<cloneObject<PathObject>>,
                                      slot<setNameSpace>,
                                      slot<getText<&PathData::nameSpace>>,
                                      slot<setHostname>,
                                      slot<getText<&PathData::host>>,
                                      slot<setClassName>,
                                      slot<getText<&PathData::className>>,
                                      slot<addKeySlot>,
                                      slot<getKey>,
                                      slot<getKeyAt>,
                                      slot<getKeyCount>,
                                      slot<setNameSpaceFrom>,
                                      slot<setHostAndNameSpaceFrom>,
                                      nullptr,
                                      slot<getPropertyQualifier>,
                                      nullptr,
                                      nullptr,
                                      slot<pathToString>};

CMPIObjectPath* makePath(PathData data) { return makeObject<PathObject>(std::move(data)); }

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
