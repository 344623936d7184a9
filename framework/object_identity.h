#pragma once

#include <string>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"

namespace ORV {

/// A text that two paths of one object share, however each of them reached us.
///
/// Reading a reference changes a path: the host name is lost, numbers come back with another type,
/// boolean keys are dropped, keys change their order. So the identity leaves out the host name, and
/// null and boolean keys; it folds the case of class, namespace and key names, takes numbers as
/// their digits, sorts the keys, and takes an absent namespace as `defaultNameSpace`. A leading "/"
/// of a namespace does not count.
///
/// Fails: CmpiStatus of the broker.
std::string objectIdentity(const CmpiObjectPath& path, const std::string& defaultNameSpace);

/// Whether the keys that objectIdentity reads from `path` are the values of the instance's
/// properties of those names. An object manager without the definition of a class gives an instance
/// the path that its provider made it on, which may lack keys.
///
/// Fails: CmpiStatus of the broker.
bool hasKeysOf(const CmpiInstance& instance, const CmpiObjectPath& path,
               const std::string& defaultNameSpace);

/// The path's namespace without a leading "/"; `defaultNameSpace` when it has none.
std::string plainNameSpace(const CmpiObjectPath& path, const std::string& defaultNameSpace);

}  // namespace ORV
