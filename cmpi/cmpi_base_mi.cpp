#include "cmpi/cmpi_base_mi.h"

#include "cmpi/cmpi_dispatch.h"

CmpiBaseMI::CmpiBaseMI(const CmpiBroker& mbp, const CmpiContext& /*context*/) : ownBroker_(mbp) {}

CmpiBaseMI::~CmpiBaseMI() = default;

CmpiStatus CmpiBaseMI::initialize(const CmpiContext& /*context*/) { return CMPI_RC_OK; }

CmpiStatus CmpiBaseMI::cleanup(const CmpiContext& /*context*/, bool /*terminating*/) {
  return CMPI_RC_OK;
}

bool CmpiBaseMI::isUnloadable() const { return true; }

void CmpiBaseMI::setProviderBase(CmpiProviderBase* base) {
  base_ = base;
  CmpiProviderBase::setBroker(broker->getEnc());
}

CMPIStatus CmpiBaseMI::driveBaseCleanup(void* mi, const CMPIContext* context,
                                        CMPIBoolean terminating) {
  return dispatch<CmpiBaseMI>(mi, [&](CmpiBaseMI& provider) {
    const CmpiStatus answer = provider.cleanup(CmpiContext(context), terminating != 0);
    const bool stays = terminating == 0 && !provider.isUnloadable();
    return answer.rc() == CMPI_RC_OK && stays ? CmpiStatus(CMPI_RC_NEVER_UNLOAD) : answer;
  });
}
