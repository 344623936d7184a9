#include "broker/arrays.h"

#include "broker/data.h"
#include "broker/object_tools.h"

namespace orv::broker {
namespace {

constexpr CMPICount kLargestArray = 1U << 20;  // elements

CMPIStatus releaseArray(CMPIArray* self) {
  return releaseObject(const_cast<ArrayObject*>(ownArray(self)), "array");
}

CMPIArray* cloneArray(const CMPIArray* self, CMPIStatus* out) {
  const ArrayObject* own = ownArray(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  if (own == nullptr) return nullptr;
  return new ArrayObject(own->elementType, own->elements, own->grows);  // the caller releases it
}

CMPICount arraySize(const CMPIArray* self, CMPIStatus* out) {
  const ArrayObject* own = ownArray(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return own != nullptr ? static_cast<CMPICount>(own->elements.size()) : 0;
}

CMPIType simpleType(const CMPIArray* self, CMPIStatus* out) {
  const ArrayObject* own = ownArray(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return own != nullptr ? own->elementType : static_cast<CMPIType>(CMPI_null);
}

CMPIData elementAt(const CMPIArray* self, CMPICount index, CMPIStatus* out) {
  const ArrayObject* own = ownArray(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  if (own != nullptr && index < own->elements.size()) return toData(own->elements[index]);
  CMPIData data{};
  data.state = CMPI_badValue;  // Deliberate (contract.md#array-end).
  return data;
}

/// An element of another type is refused; null and chars in a string array are welcome.
ReadValue readElement(const ArrayObject& array, const CMPIValue* value, CMPIType type) {
  if (type == CMPI_null) return {Value::ofNull(array.elementType), CMPI_RC_OK, ""};
  if (storedType(type) != array.elementType) return {Value(), CMPI_RC_ERR_FAILED, ""};
  return readValue(value, type);
}

CMPIStatus setElementAt(CMPIArray* self, CMPICount index, const CMPIValue* value, CMPIType type) {
  auto* own = const_cast<ArrayObject*>(ownArray(self));
  if (own == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const bool appends = own->grows && index == own->elements.size() && index < kLargestArray;
  if (index >= own->elements.size() && !appends) return status(CMPI_RC_ERR_FAILED);
  ReadValue read = readElement(*own, value, type);
  if (!read.complaint.empty()) report("", "", "sets an array element: " + read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  if (appends) own->elements.emplace_back();
  own->elements[index] = std::move(read.value);
  return status(CMPI_RC_OK);
}

CMPIArrayFT arrayTable = {1,          releaseArray, cloneArray,  arraySize,
                          simpleType, elementAt,    setElementAt};

}  // namespace

ArrayObject::ArrayObject(CMPIType type, Value::Array content, bool growing)
    : CMPIArray{nullptr, &arrayTable},
      elementType(type),
      elements(std::move(content)),
      grows(growing) {
  hdl = &elements;
}

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

const ArrayObject* ownArray(const CMPIArray* record) {
  return ownObject<ArrayObject>(record, &arrayTable, "array");
}

}  // namespace orv::broker
