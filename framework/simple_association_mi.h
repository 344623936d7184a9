#pragma once

#include "cmpi/cmpi_association_mi.h"
#include "cmpi/cmpi_instance_mi.h"

namespace OMC {

/// Association provider that needs one hook: a derived class returns the association instances of
/// an object, and this class makes the four association operations from them.
///
/// - `references` passes the instances on, with the request's property list applied;
/// - `referenceNames` returns their object paths;
/// - `associatorNames` takes from each the reference that is not the source object;
/// - `associators` fetches that object, after the hook has returned and holds no lock, and applies
///   the property list. Where the derived class itself serves the object's class (`instancesOf`),
///   it is asked for that one object. Otherwise the broker is asked with `enumInstances`, once per
///   class and request; a `getInstance` that a provider of this process answers with OK and no
///   instance would end an object manager's process. An object that does not exist, or whose class
///   or namespace is unknown, is left out; any other failure is the answer.
///
/// `returnDone` is called if and when the hook calls it. The hook's status is the answer.
class SimpleAssociationMI : public CmpiAssociationMI {
 public:
  SimpleAssociationMI(const CmpiBroker& mbp, const CmpiContext& context);

  CmpiStatus associators(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char* assocClass, const char* resultClass, const char* role,
                         const char* resultRole, const char** properties) override;
  CmpiStatus associatorNames(const CmpiContext& context, CmpiResult& result,
                             const CmpiObjectPath& path, const char* assocClass,
                             const char* resultClass, const char* role,
                             const char* resultRole) override;
  CmpiStatus references(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                        const char* resultClass, const char* role,
                        const char** properties) override;
  CmpiStatus referenceNames(const CmpiContext& context, CmpiResult& result,
                            const CmpiObjectPath& path, const char* resultClass,
                            const char* role) override;

 protected:
  /// Returns to `result` the association instances of the object at `path`, each with its two
  /// references as properties. A null or empty filter restricts nothing; any other is compared
  /// without regard to case.
  virtual CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                                  const CmpiObjectPath& path, const char* assocClass,
                                  const char* resultClass, const char* role,
                                  const char* resultRole) = 0;

  /// The provider to ask for the object at `path`: this one, if it serves the path's class itself.
  /// Default: null, for objects of other providers.
  virtual CmpiInstanceMI* instancesOf(const CmpiObjectPath& path);
};

}  // namespace OMC
