#pragma once

#include "cmpi/cmpi_object.h"

/// The context of a request. It ends with the request, even where a handle to it is kept. One that
/// CmpiBroker::prepareAttachThread made lives until it is released.
class CmpiContext : public CmpiObject {
 public:
  explicit CmpiContext(const CMPIContext* enc) : CmpiObject(enc) {}

  CMPIContext* getEnc() const { return static_cast<CMPIContext*>(enc_); }
};

/// Owns a context that CmpiBroker::prepareAttachThread made, and releases it in its destructor,
/// which may run on any thread. Not for a context of a request, which belongs to the object
/// manager.
class CmpiPreparedContext : public CmpiContext {
 public:
  explicit CmpiPreparedContext(const CmpiContext& prepared) : CmpiContext(prepared) {}
  ~CmpiPreparedContext() {
    if (!isNull() && getEnc()->ft->release != nullptr) getEnc()->ft->release(getEnc());
  }
  CmpiPreparedContext(const CmpiPreparedContext&) = delete;
  CmpiPreparedContext& operator=(const CmpiPreparedContext&) = delete;
};
