#pragma once

#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_enumeration.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"

/// The object manager that loaded us. Every operation throws its CmpiStatus.
///
/// An up-call may be served by a provider of this library in the same thread: hold no lock that it
/// takes.
class CmpiBroker {
 public:
  explicit CmpiBroker(const CMPIBroker* enc) : enc_(enc) {}

  const CMPIBroker* getEnc() const { return enc_; }

  /// A context for a new thread; the caller keeps it.
  CmpiContext prepareAttachThread(const CmpiContext& context) const;
  /// First call of the new thread.
  void attachThread(const CmpiContext& context) const;

  void deliverIndication(const CmpiContext& context, const char* nameSpace,
                         const CmpiInstance& indication) const;

  CmpiEnumeration enumInstanceNames(const CmpiContext& context, const CmpiObjectPath& path) const;
  CmpiEnumeration enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                const char** properties) const;
  /// Dangerous for an object that may be gone: when a provider of this process answers OK without
  /// an instance, an object manager may end the process. Status 6 when it answers so to us.
  CmpiInstance getInstance(const CmpiContext& context, const CmpiObjectPath& path,
                           const char** properties) const;

 private:
  const CMPIBroker* enc_;
};
