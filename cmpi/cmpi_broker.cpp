#include "cmpi/cmpi_broker.h"

#include "cmpi/cmpi_status.h"

CmpiContext CmpiBroker::prepareAttachThread(const CmpiContext& context) const {
  return CmpiContext(enc_->bft->prepareAttachThread(enc_, context.getEnc()));
}

void CmpiBroker::attachThread(const CmpiContext& context) const {
  throwUnlessOk(enc_->bft->attachThread(enc_, context.getEnc()));
}

void CmpiBroker::deliverIndication(const CmpiContext& context, const char* nameSpace,
                                   const CmpiInstance& indication) const {
  throwUnlessOk(
      enc_->bft->deliverIndication(enc_, context.getEnc(), nameSpace, indication.getEnc()));
}

CmpiEnumeration CmpiBroker::enumInstanceNames(const CmpiContext& context,
                                              const CmpiObjectPath& path) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIEnumeration* names =
      enc_->bft->enumerateInstanceNames(enc_, context.getEnc(), path.getEnc(), &status);
  throwUnlessOk(status);
  return CmpiEnumeration(names);
}

CmpiEnumeration CmpiBroker::enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                          const char** properties) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIEnumeration* instances =
      enc_->bft->enumerateInstances(enc_, context.getEnc(), path.getEnc(), properties, &status);
  throwUnlessOk(status);
  return CmpiEnumeration(instances);
}

CmpiInstance CmpiBroker::getInstance(const CmpiContext& context, const CmpiObjectPath& path,
                                     const char** properties) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIInstance* instance =
      enc_->bft->getInstance(enc_, context.getEnc(), path.getEnc(), properties, &status);
  throwUnlessOk(status);
  if (instance == nullptr) throw CmpiStatus(CMPI_RC_ERR_NOT_FOUND);
  return CmpiInstance(instance);
}
