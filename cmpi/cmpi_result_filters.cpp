#include "cmpi/cmpi_result_filters.h"

struct CmpiResultFilter::Slots {
  static CmpiResultFilter& filter(const CMPIResult* result) {
    return *static_cast<CmpiResultFilter*>(result->hdl);
  }

  static CMPIStatus release(CMPIResult*) { return {CMPI_RC_OK, nullptr}; }

  static CMPIResult* clone(const CMPIResult*, CMPIStatus* status) {
    if (status != nullptr) *status = {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
    return nullptr;
  }

  static CMPIStatus returnData(const CMPIResult* result, const CMPIValue* value, CMPIType type) {
    CmpiResultFilter& self = filter(result);
    if (value != nullptr && type == CMPI_instance) return self.onInstance(value->inst);
    if (value != nullptr && type == CMPI_ref) return self.onObjectPath(value->ref);
    return self.inner()->ft->returnData(self.inner(), value, type);
  }

  static CMPIStatus returnInstance(const CMPIResult* result, const CMPIInstance* instance) {
    return filter(result).onInstance(instance);
  }

  static CMPIStatus returnObjectPath(const CMPIResult* result, const CMPIObjectPath* path) {
    return filter(result).onObjectPath(path);
  }

  static CMPIStatus returnDone(const CMPIResult* result) { return filter(result).onDone(); }

  static CMPIStatus returnError(const CMPIResult*, const CMPIError*) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
  }
};

CMPIResultFT* CmpiResultFilter::functionTable() {
  static CMPIResultFT table = {CMPIVersion200,    Slots::release,        Slots::clone,
                               Slots::returnData, Slots::returnInstance, Slots::returnObjectPath,
                               Slots::returnDone, Slots::returnError};
  return &table;
}

CMPIStatus CmpiResultFilter::onInstance(const CMPIInstance* instance) {
  return inner()->ft->returnInstance(inner(), instance);
}

CMPIStatus CmpiResultFilter::onObjectPath(const CMPIObjectPath* path) {
  return inner()->ft->returnObjectPath(inner(), path);
}

CMPIStatus CmpiResultFilter::onDone() { return inner()->ft->returnDone(inner()); }

CMPIStatus CmpiResultInstanceToPathFilter::onInstance(const CMPIInstance* instance) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIObjectPath* path = instance->ft->getObjectPath(instance, &status);
  if (status.rc != CMPI_RC_OK) return status;
  if (path == nullptr) return {CMPI_RC_ERR_FAILED, nullptr};
  return inner()->ft->returnObjectPath(inner(), path);
}

CMPIStatus CmpiResultPathToInstanceFilter::onObjectPath(const CMPIObjectPath* path) {
  const CMPIBroker* broker = broker_.getEnc();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIInstance* instance =
      broker->bft->getInstance(broker, context_.getEnc(), path, properties_, &status);
  if (status.rc != CMPI_RC_OK) return status;
  if (instance == nullptr) return {CMPI_RC_ERR_NOT_FOUND, nullptr};
  return inner()->ft->returnInstance(inner(), instance);
}
