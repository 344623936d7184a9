#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object.h"

/// What an up-call returned, one after the other. Throws the broker's CmpiStatus.
class CmpiEnumeration : public CmpiObject {
 public:
  explicit CmpiEnumeration(const CMPIEnumeration* enc) : CmpiObject(enc) {}

  /// False for a null enumeration.
  bool hasNext() const;
  CmpiData getNext() const;

 private:
  const CMPIEnumeration* getEnc() const { return static_cast<const CMPIEnumeration*>(enc_); }
};
