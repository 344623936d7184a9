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

  /// Delivers an indication to its subscribers in `nameSpace`. It may take as long as they do, and
  /// on some brokers for ever.
  void deliverIndication(const CmpiContext& context, const char* nameSpace,
                         const CmpiInstance& indication) const;

  /// The paths of the instances of the class that `path` names, those of derived classes included.
  CmpiEnumeration enumInstanceNames(const CmpiContext& context, const CmpiObjectPath& path) const;
  /// The instances themselves. `properties` ends with null and lists those that are wanted; null
  /// asks for all.
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
