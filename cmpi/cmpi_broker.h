#pragma once

#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_enumeration.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"

/// The object manager that loaded us. Operations throw its CmpiStatus.
///
/// An up-call may be served by a provider of this library in the same thread, so hold no lock that
/// such a provider takes.
class CmpiBroker {
 public:
  explicit CmpiBroker(const CMPIBroker* enc) : enc_(enc) {}

  const CMPIBroker* getEnc() const { return enc_; }

  /// A context for a new thread, copied from a request's; null when the broker makes none. The
  /// caller owns it (CmpiPreparedContext).
  CmpiContext prepareAttachThread(const CmpiContext& context) const;
  /// The new thread's first call to the broker, with its prepared context.
  void attachThread(const CmpiContext& context) const;

  void deliverIndication(const CmpiContext& context, const char* nameSpace,
                         const CmpiInstance& indication) const;

  CmpiEnumeration enumInstanceNames(const CmpiContext& context, const CmpiObjectPath& path) const;
  CmpiEnumeration enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                const char** properties) const;
  /// Fails also: CmpiStatus 6 when the broker answers OK without an instance. Do not ask for an
  /// object that may be gone: when a provider of this process answers OK without an instance, an
  /// object manager may end the process.
  CmpiInstance getInstance(const CmpiContext& context, const CmpiObjectPath& path,
                           const char** properties) const;

 private:
  const CMPIBroker* enc_;
};
