#include "cmpi/cmpi_array.h"

#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_reference.h"
#include "cmpi/cmpi_status.h"
#include "cmpi/cmpi_string.h"

CmpiArray::CmpiArray(CMPICount size, CMPIType type) {
  const CMPIBroker* broker = requireBroker();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  enc_ = broker->eft->newArray(broker, size, type, &status);
  throwUnlessOk(status);
  // An object manager may turn an array of chars into one of strings.
  if (type != CMPI_chars) type_ = type;
}

CMPICount CmpiArray::size() const {
  return isNull() ? 0U : getEnc()->ft->getSize(getEnc(), nullptr);
}

CMPIType CmpiArray::simpleType() const {
  if (isNull()) return CMPI_null;
  return type_ != CMPI_null ? type_ : getEnc()->ft->getSimpleType(getEnc(), nullptr);
}

const CmpiArrayIdx& CmpiArrayIdx::operator=(const CmpiData& data) const {
  const CMPIType element = array_.simpleType();
  // Not every object manager takes an array element as chars.
  if (data.getType() == CMPI_chars && element == CMPI_string) return *this = CmpiString(data);
  if (array_.isNull() || data.getType() != element) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH);
  requireCarriable(data);
  CMPIArray* array = array_.getEnc();
  throwUnlessOk(array->ft->setElementAt(array, index_, data.passedValue(), data.getType()));
  return *this;
}

CmpiData CmpiArrayIdx::getData() const {
  if (array_.isNull()) return CmpiData::notFound();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIArray* array = array_.getEnc();
  const CMPIData data = array->ft->getElementAt(array, index_, &status);
  throwUnlessOk(status);
  return CmpiData(data);
}
