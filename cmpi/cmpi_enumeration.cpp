#include "cmpi/cmpi_enumeration.h"

#include "cmpi/cmpi_status.h"

bool CmpiEnumeration::hasNext() const {
  if (isNull()) return false;
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBoolean more = getEnc()->ft->hasNext(getEnc(), &status);
  throwUnlessOk(status);
  return more != 0;
}

CmpiData CmpiEnumeration::getNext() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData data = getEnc()->ft->getNext(getEnc(), &status);
  throwUnlessOk(status);
  return CmpiData(data);
}
