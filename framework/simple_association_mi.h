#pragma once

#include "cmpi/cmpi_association_mi.h"
#include "cmpi/cmpi_instance_mi.h"

namespace OMC {

/// Association provider on one hook: a derived class returns the association instances of an
/// object, this class makes the four association operations of them.
///
/// - `references` passes the instances on, with the request's property list applied;
/// - `referenceNames` returns their object paths;
/// - `associatorNames` takes from each the reference that is not the source object;
/// - `associators` fetches that object, after the hook has returned and holds no lock, and applies
///   the property list. Where the derived class serves the object's class itself (`instancesOf`) it
///   is asked for that one object; else the broker is, with `enumInstances`, once for each class in
///   a request: a `getInstance` that a provider of this process answers with OK and no instance
///   would end an object manager's process. An object that is gone, whose class or namespace is
///   unknown too, is left out; any other failure is the answer.
///
/// `returnDone` is called when the hook calls it, and only then; the hook's status is the answer.
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
  /// references as properties. A null or empty filter restricts nothing; a given one counts without
  /// regard to case.
  virtual CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                                  const CmpiObjectPath& path, const char* assocClass,
                                  const char* resultClass, const char* role,
                                  const char* resultRole) = 0;

  /// The provider to ask for the object at `path`: this one, where it serves the path's class
  /// itself. Default: null, for objects of others.
  virtual CmpiInstanceMI* instancesOf(const CmpiObjectPath& path);
};

}  // namespace OMC
