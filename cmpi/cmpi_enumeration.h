#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object.h"

/// The objects that an up-call returned, in the broker's order. Operations throw the broker's
/// CmpiStatus.
class CmpiEnumeration : public CmpiObject {
 public:
  explicit CmpiEnumeration(const CMPIEnumeration* enc) : CmpiObject(enc) {}

  /// False for a null enumeration.
  bool hasNext() const;
  /// The next object. Call it only after hasNext has returned true.
  CmpiData getNext() const;

 private:
  const CMPIEnumeration* getEnc() const { return static_cast<const CMPIEnumeration*>(enc_); }
};
