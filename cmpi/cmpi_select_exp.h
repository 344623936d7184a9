#pragma once

#include "cmpi/cmpi_object.h"

/// Select expression of a filter; opaque to our providers.
class CmpiSelectExp : public CmpiObject {
 public:
  explicit CmpiSelectExp(const CMPISelectExp* enc) : CmpiObject(enc) {}
};
