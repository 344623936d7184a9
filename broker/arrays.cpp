#include "broker/arrays.h"

#include "broker/data.h"
#include "broker/object_tools.h"

namespace orv::broker {
namespace {

constexpr CMPICount kLargestArray = 1U << 20;  // elements

CMPICount arraySize(const ArrayObject& self, CMPIStatus* /*out*/) {
  return static_cast<CMPICount>(self.elements.size());
}

CMPIType simpleType(const ArrayObject& self, CMPIStatus* /*out*/) { return self.elementType; }

CMPIData elementAt(const ArrayObject& self, CMPICount index, CMPIStatus* /*out*/) {
  if (index < self.elements.size()) return toData(self.elements[index]);
  CMPIData data{};
  data.state = CMPI_badValue;  // Deliberate (contract.md#array-end).
  return data;
}

/// Refuses an element of another type, except null, and chars for a string.
ReadValue readElement(const ArrayObject& array, const CMPIValue* value, CMPIType type) {
  if (type == CMPI_null) return {Value::ofNull(array.elementType), CMPI_RC_OK, ""};
  if (storedType(type) != array.elementType) return {Value(), CMPI_RC_ERR_FAILED, ""};
  return readValue(value, type);
}

CMPIStatus setElementAt(ArrayObject& self, CMPICount index, const CMPIValue* value, CMPIType type) {
  const bool appends = self.grows && index == self.elements.size() && index < kLargestArray;
  if (index >= self.elements.size() && !appends) return status(CMPI_RC_ERR_FAILED);
  ReadValue read = readElement(self, value, type);
  if (!read.complaint.empty()) report("", "", "sets an array element: " + read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  if (appends) self.elements.emplace_back();
  self.elements[index] = std::move(read.value);
  return status(CMPI_RC_OK);
}

}  // namespace

CMPIArrayFT ArrayObject::table = {1,
                                  slot<releaseObject<ArrayObject>>,
                                  slot<cloneObject<ArrayObject>>,
                                  slot<arraySize>,
                                  slot<simpleType>,
                                  slot<elementAt>,
                                  slot<setElementAt>};

CMPIArray* makeArray(CMPIType elementType, Value::Array elements) {
  return makeObject<ArrayObject>(elementType, std::move(elements), false);
}

CMPIArray* makeArrayOfSize(CMPICount size, CMPIType type, CMPIStatus* out) {
  const CMPIType elementType = storedType(static_cast<CMPIType>(type & ~CMPI_ARRAY));
  answer(out, size > kLargestArray ? CMPI_RC_ERR_FAILED : CMPI_RC_OK);
  if (size > kLargestArray) return nullptr;
  return makeObject<ArrayObject>(elementType, Value::Array(size, Value::ofNull(elementType)),
                                 size == 0);
}
}  // namespace orv::broker
