#include "cmpi/cmpi_object_path.h"

#include <cstring>

#include "cmpi/ascii.h"
#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_reference.h"
#include "cmpi/cmpi_status.h"

namespace {

using Getter = CMPIString* (*)(const CMPIObjectPath*, CMPIStatus*);

CmpiString getText(const CMPIObjectPath* path, Getter getter) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIString* text = getter(path, &status);
  throwUnlessOk(status);
  return CmpiString(text);
}

/// The text, or "" for null.
const char* textOrEmpty(const CmpiString& text) {
  const char* chars = text.charPtr();
  return chars == nullptr ? "" : chars;
}

bool sameText(const CmpiString& a, const CmpiString& b) {
  return equalIgnoringCase(textOrEmpty(a), textOrEmpty(b));
}

/// Empty also when the broker cannot read it.
CmpiString readableHost(const CmpiObjectPath& path) {
  try {
    return path.getHostname();
  } catch (const CmpiStatus&) {
    return {};
  }
}

/// Object managers report a missing key with either code.
bool isAbsent(const CMPIStatus& status) {
  return status.rc == CMPI_RC_ERR_NOT_FOUND || status.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY;
}

bool sameValue(const CmpiData& a, const CmpiData& b) {
  if (a.isText() && b.isText()) {
    if (a.isNullValue() || b.isNullValue()) return a.isNullValue() == b.isNullValue();
    return std::strcmp(textOrEmpty(CmpiString(a)), textOrEmpty(CmpiString(b))) == 0;
  }
  if (a.getType() != b.getType()) return false;
  if (a.isNullValue() || b.isNullValue()) return a.isNullValue() == b.isNullValue();
  const CMPIValue& left = a.data().value;
  const CMPIValue& right = b.data().value;
  switch (a.getType()) {
    case CMPI_boolean:
      return (left.boolean != 0) == (right.boolean != 0);
    case CMPI_uint8:
    case CMPI_sint8:
      return left.uint8 == right.uint8;
    case CMPI_char16:
    case CMPI_uint16:
    case CMPI_sint16:
      return left.uint16 == right.uint16;
    case CMPI_uint32:
    case CMPI_sint32:
      return left.uint32 == right.uint32;
    case CMPI_uint64:
    case CMPI_sint64:
      return left.uint64 == right.uint64;
    case CMPI_ref:
      return CmpiObjectPath(a) == CmpiObjectPath(b);
    default:
      return false;
  }
}

}  // namespace

CmpiObjectPath::CmpiObjectPath(const char* nameSpace, const char* className)
    : referenceText_(nameSpace, className) {
  const CMPIBroker* broker = requireBroker();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  enc_ = broker->eft->newObjectPath(broker, nameSpace, className, &status);
  throwUnlessOk(status);
  if (isNull()) throw CmpiStatus(CMPI_RC_ERR_FAILED);
}

bool CmpiObjectPath::classPathIsA(const char* className) const {
  const CMPIBroker* broker = requireBroker();
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBoolean isA = broker->eft->classPathIsA(broker, getEnc(), className, &status);
  throwUnlessOk(status);
  return isA != 0;
}

CmpiString CmpiObjectPath::getHostname() const {
  return getText(getEnc(), getEnc()->ft->getHostname);
}
CmpiString CmpiObjectPath::getNameSpace() const {
  return getText(getEnc(), getEnc()->ft->getNameSpace);
}
CmpiString CmpiObjectPath::getClassName() const {
  return getText(getEnc(), getEnc()->ft->getClassName);
}

void CmpiObjectPath::setHostname(const char* host) {
  throwUnlessOk(getEnc()->ft->setHostname(getEnc(), host));
}

void CmpiObjectPath::setNameSpace(const char* nameSpace) {
  referenceText_.forget();
  throwUnlessOk(getEnc()->ft->setNameSpace(getEnc(), nameSpace));
}

CMPICount CmpiObjectPath::getKeyCount() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPICount count = getEnc()->ft->getKeyCount(getEnc(), &status);
  throwUnlessOk(status);
  return count;
}

CmpiData CmpiObjectPath::getKey(const char* name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData data = getEnc()->ft->getKey(getEnc(), name, &status);
  if (isAbsent(status)) return CmpiData::notFound();
  throwUnlessOk(status);
  return CmpiData(data);
}

CmpiData CmpiObjectPath::getKey(CMPICount index, CmpiString* name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIString* keyName = nullptr;
  const CMPIData data = getEnc()->ft->getKeyAt(getEnc(), index, &keyName, &status);
  if (isAbsent(status)) return CmpiData::notFound();
  throwUnlessOk(status);
  if (name != nullptr) *name = CmpiString(keyName);
  return CmpiData(data);
}

void CmpiObjectPath::setKey(const char* name, const CmpiData& value) {
  requireCarriable(value);
  addKey(name, value);
}

void CmpiObjectPath::setKey(const char* name, const CmpiObjectPath& path) {
  requireCarriable(path);
  addKey(name, path);
}

void CmpiObjectPath::addKey(const char* name, const CmpiData& value) {
  referenceText_.add(name, value);
  throwUnlessOk(getEnc()->ft->addKey(getEnc(), name, value.passedValue(), value.getType()));
}

bool operator==(const CmpiObjectPath& a, const CmpiObjectPath& b) {
  if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
  if (a.getEnc() == b.getEnc()) return true;
  if (!sameText(a.getClassName(), b.getClassName()) ||
      !sameText(a.getNameSpace(), b.getNameSpace()) ||
      !sameText(readableHost(a), readableHost(b))) {
    return false;
  }
  const CMPICount count = a.getKeyCount();
  if (count != b.getKeyCount()) return false;
  for (CMPICount i = 0; i < count; ++i) {
    CmpiString name;
    const CmpiData value = a.getKey(i, &name);
    const CmpiData other = b.getKey(textOrEmpty(name));
    if (other.isNotFound() || !sameValue(value, other)) return false;
  }
  return true;
}
