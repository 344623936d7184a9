#include "cmpi/cmpi_status.h"

#include "cmpi/cmpi_provider_base.h"

CmpiStatus::CmpiStatus(CMPIrc rc, const char* text) : status_{rc, nullptr} {
  const CMPIBroker* broker = CmpiProviderBase::getBroker();
  if (broker == nullptr || text == nullptr) return;
  CMPIStatus made{CMPI_RC_OK, nullptr};
  CMPIString* string = broker->eft->newString(broker, text, &made);
  if (made.rc == CMPI_RC_OK) status_.msg = string;
}

const char* CmpiStatus::msg() const {
  if (status_.msg == nullptr) return nullptr;
  CMPIStatus read{CMPI_RC_OK, nullptr};
  const char* text = status_.msg->ft->getCharPtr(status_.msg, &read);
  return read.rc == CMPI_RC_OK ? text : nullptr;
}
