#pragma once

#include "cmpi/cmpi_object.h"

/// Circumstances of a request: it dies with the request, whoever keeps a handle. One that
/// CmpiBroker::prepareAttachThread made lives on.
class CmpiContext : public CmpiObject {
 public:
  explicit CmpiContext(const CMPIContext* enc) : CmpiObject(enc) {}

  CMPIContext* getEnc() const { return static_cast<CMPIContext*>(enc_); }
};
