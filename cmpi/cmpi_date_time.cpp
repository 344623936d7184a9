#include "cmpi/cmpi_date_time.h"

#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_status.h"

CmpiDateTime::CmpiDateTime(CMPIUint64 microseconds, bool interval) {
  const CMPIBroker* broker = requireBroker();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const auto isInterval = static_cast<CMPIBoolean>(interval ? 1 : 0);
  enc_ = broker->eft->newDateTimeFromBinary(broker, microseconds, isInterval, &status);
  throwUnlessOk(status);
}
