#pragma once

#include <string>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"

namespace ORV {

/// A text that is the same for all paths of one object, however each of them reached us.
///
/// Reading a path from a reference changes it: the host name is lost, numbers come back with
/// another type, boolean keys are dropped, keys change their order. So the identity leaves out the
/// host name and null and boolean keys, ignores the case of class, namespace and key names, takes
/// numbers as their digits, sorts the keys, and takes an absent namespace as `defaultNameSpace`.
/// Slashes at the start of a namespace do not count.
///
/// Fails: CmpiStatus of the broker.
std::string objectIdentity(const CmpiObjectPath& path, const std::string& defaultNameSpace);

/// Whether each key that objectIdentity takes from `path` is the value of the instance's property
/// of that name. Asked because an object manager without the definition of a class gives an
/// instance the path that its provider made it with, which may lack keys.
///
/// Fails: CmpiStatus of the broker.
bool hasKeysOf(const CmpiInstance& instance, const CmpiObjectPath& path,
               const std::string& defaultNameSpace);

/// The path's namespace, or `defaultNameSpace` when it has none, without slashes at its start.
std::string plainNameSpace(const CmpiObjectPath& path, const std::string& defaultNameSpace);

}  // namespace ORV
