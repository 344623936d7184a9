#include "broker/enumerations.h"

#include "broker/arrays.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"

namespace orv::broker {
namespace {

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

CMPIData getNext(EnumerationObject& self, CMPIStatus* out) {
  if (self.next < self.items.size()) return itemData(self.items[self.next++]);
  answer(out, CMPI_RC_ERR_NOT_FOUND);
  return notFoundData();
}

CMPIBoolean hasNext(const EnumerationObject& self, CMPIStatus* /*out*/) {
  return self.next < self.items.size() ? 1 : 0;
}

CMPIArray* toArray(const EnumerationObject& self, CMPIStatus* /*out*/) {
  Value::Array elements;
  for (const auto& item : self.items) elements.push_back(itemValue(item));
  const CMPIType type = elements.empty() ? static_cast<CMPIType>(CMPI_instance) : elements[0].type;
  return makeArray(type, std::move(elements));
}

}  // namespace

CMPIEnumerationFT EnumerationObject::table = {1,
                                              slot<releaseObject<EnumerationObject>>,
                                              slot<cloneObject<EnumerationObject>>,
                                              slot<getNext>,
                                              slot<hasNext>,
                                              slot<toArray>};

CMPIEnumeration* makeEnumeration(std::vector<EnumerationObject::Item> items) {
  return makeObject<EnumerationObject>(std::move(items));
}

}  // namespace orv::broker
