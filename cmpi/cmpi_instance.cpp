#include "cmpi/cmpi_instance.h"

#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_reference.h"
#include "cmpi/cmpi_status.h"

CmpiInstance::CmpiInstance(const CmpiObjectPath& path) {
  const CMPIBroker* broker = requireBroker();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  enc_ = broker->eft->newInstance(broker, path.getEnc(), &status);
  throwUnlessOk(status);
  if (isNull()) throw CmpiStatus(CMPI_RC_ERR_FAILED);
}

CMPICount CmpiInstance::getPropertyCount() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPICount count = getEnc()->ft->getPropertyCount(getEnc(), &status);
  throwUnlessOk(status);
  return count;
}

CmpiData CmpiInstance::getProperty(const char* name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData data = getEnc()->ft->getProperty(getEnc(), name, &status);
  if (status.rc == CMPI_RC_ERR_NOT_FOUND || status.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY) {
    return CmpiData::notFound();
  }
  if (status.rc != CMPI_RC_OK && status.msg == nullptr) throw CmpiStatus(status.rc, name);
  throwUnlessOk(status);
  return CmpiData(data);
}

CmpiData CmpiInstance::getProperty(CMPICount index, CmpiString* name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIString* propertyName = nullptr;
  const CMPIData data = getEnc()->ft->getPropertyAt(getEnc(), index, &propertyName, &status);
  throwUnlessOk(status);
  if (name != nullptr) *name = CmpiString(propertyName);
  return CmpiData(data);
}

void CmpiInstance::setProperty(const char* name, const CmpiData& value) {
  requireCarriable(value);
  passProperty(name, value);
}

void CmpiInstance::setProperty(const char* name, const CmpiObjectPath& path) {
  requireCarriable(path);
  passProperty(name, path);
}

void CmpiInstance::passProperty(const char* name, const CmpiData& value) {
  throwUnlessOk(getEnc()->ft->setProperty(getEnc(), name, value.passedValue(), value.getType()));
}

void CmpiInstance::setPropertyFilter(const char** properties, const char** keys) {
  const char* noKeys[] = {nullptr};
  const char** keyList = keys == nullptr ? noKeys : keys;
  throwUnlessOk(getEnc()->ft->setPropertyFilter(getEnc(), properties, keyList));
}

CmpiObjectPath CmpiInstance::getObjectPath() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIObjectPath* path = getEnc()->ft->getObjectPath(getEnc(), &status);
  throwUnlessOk(status);
  if (path == nullptr) throw CmpiStatus(CMPI_RC_ERR_FAILED);
  return CmpiObjectPath(path);
}
