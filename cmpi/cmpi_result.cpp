#include "cmpi/cmpi_result.h"

#include "cmpi/cmpi_status.h"

void CmpiResult::returnData(const CmpiData& data) const {
  throwUnlessOk(getEnc()->ft->returnData(getEnc(), data.passedValue(), data.getType()));
}

void CmpiResult::returnData(const CmpiInstance& instance) const {
  throwUnlessOk(getEnc()->ft->returnInstance(getEnc(), instance.getEnc()));
}

void CmpiResult::returnData(const CmpiObjectPath& path) const {
  throwUnlessOk(getEnc()->ft->returnObjectPath(getEnc(), path.getEnc()));
}

void CmpiResult::returnDone() const { throwUnlessOk(getEnc()->ft->returnDone(getEnc())); }
