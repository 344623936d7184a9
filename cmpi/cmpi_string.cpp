#include "cmpi/cmpi_string.h"

#include <cstring>

#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_status.h"

CmpiString::CmpiString(const char* text) {
  if (text == nullptr) return;
  const CMPIBroker* broker = requireBroker();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  enc_ = broker->eft->newString(broker, text, &status);
  throwUnlessOk(status);
}

const char* CmpiString::charPtr() const {
  if (isNull()) return nullptr;
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const char* text = getEnc()->ft->getCharPtr(getEnc(), &status);
  return status.rc == CMPI_RC_OK ? text : nullptr;
}

bool CmpiString::equals(const char* other) const {
  const char* text = charPtr();
  return text != nullptr && other != nullptr && std::strcmp(text, other) == 0;
}
