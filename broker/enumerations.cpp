#include "broker/enumerations.h"

#include "broker/arrays.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"

namespace orv::broker {
namespace {

extern CMPIEnumerationFT enumerationTable;

EnumerationObject* own(const CMPIEnumeration* self) {
  return const_cast<EnumerationObject*>(ownObject<EnumerationObject>(
      self, static_cast<const CMPIEnumerationFT*>(&enumerationTable), "enumeration"));
}

CMPIData itemData(const EnumerationObject::Item& item) {
  CMPIData data{};
  if (const auto* instance = std::get_if<InstanceData>(&item)) {
    data.type = CMPI_instance;
    data.value.inst = makeInstance(*instance);
  } else {
    data.type = CMPI_ref;
    data.value.ref = makePath(std::get<PathData>(item));
  }
  return data;
}

Value itemValue(const EnumerationObject::Item& item) {
  if (const auto* instance = std::get_if<InstanceData>(&item)) {
    return Value::ofInstance(instance->toPlain());
  }
  return Value::ofReference(std::get<PathData>(item).toPlain());
}

CMPIStatus releaseEnumeration(CMPIEnumeration* self) {
  return releaseObject(own(self), "enumeration");
}

CMPIEnumeration* cloneEnumeration(const CMPIEnumeration* self, CMPIStatus* out) {
  const EnumerationObject* enumeration = own(self);
  answer(out, enumeration != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  if (enumeration == nullptr) return nullptr;
  return new EnumerationObject(enumeration->items);  // the caller releases it
}

CMPIData getNext(const CMPIEnumeration* self, CMPIStatus* out) {
  EnumerationObject* enumeration = own(self);
  if (enumeration == nullptr || enumeration->next >= enumeration->items.size()) {
    answer(out, enumeration != nullptr ? CMPI_RC_ERR_NOT_FOUND : CMPI_RC_ERR_INVALID_HANDLE);
    return notFoundData();
  }
  answer(out, CMPI_RC_OK);
  return itemData(enumeration->items[enumeration->next++]);
}

CMPIBoolean hasNext(const CMPIEnumeration* self, CMPIStatus* out) {
  const EnumerationObject* enumeration = own(self);
  answer(out, enumeration != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return enumeration != nullptr && enumeration->next < enumeration->items.size() ? 1 : 0;
}

CMPIArray* toArray(const CMPIEnumeration* self, CMPIStatus* out) {
  const EnumerationObject* enumeration = own(self);
  answer(out, enumeration != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  if (enumeration == nullptr) return nullptr;
  Value::Array elements;
  for (const auto& item : enumeration->items) elements.push_back(itemValue(item));
  const CMPIType type = elements.empty() ? static_cast<CMPIType>(CMPI_instance) : elements[0].type;
  return makeArray(type, std::move(elements));
}

CMPIEnumerationFT enumerationTable = {
    1, releaseEnumeration, cloneEnumeration, getNext, hasNext, toArray};

}  // namespace

EnumerationObject::EnumerationObject(std::vector<Item> content)
    : CMPIEnumeration{nullptr, &enumerationTable}, items(std::move(content)) {
  hdl = &items;
}

CMPIEnumeration* makeEnumeration(std::vector<EnumerationObject::Item> items) {
  return makeObject<EnumerationObject>(std::move(items));
}

}  // namespace orv::broker
