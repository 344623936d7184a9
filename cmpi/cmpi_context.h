#pragma once

#include "cmpi/cmpi_object.h"

/// Circumstances of a request: it dies with the request, whoever keeps a handle. One that
/// CmpiBroker::prepareAttachThread made lives on.
class CmpiContext : public CmpiObject {
 public:
  explicit CmpiContext(const CMPIContext* enc) : CmpiObject(enc) {}

  CMPIContext* getEnc() const { return static_cast<CMPIContext*>(enc_); }
};

/// Owns a context that CmpiBroker::prepareAttachThread made: releases it at its own end, on
/// whatever thread. Not for a context of a request, which belongs to the object manager.
class CmpiPreparedContext : public CmpiContext {
 public:
  explicit CmpiPreparedContext(const CmpiContext& prepared) : CmpiContext(prepared) {}
  ~CmpiPreparedContext() {
    if (!isNull() && getEnc()->ft->release != nullptr) getEnc()->ft->release(getEnc());
  }
  CmpiPreparedContext(const CmpiPreparedContext&) = delete;
  CmpiPreparedContext& operator=(const CmpiPreparedContext&) = delete;
};
