#pragma once

#include <string>

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

/// The path's namespace without a leading "/"; `defaultNameSpace` when it has none.
std::string plainNameSpace(const CmpiObjectPath& path, const std::string& defaultNameSpace);

}  // namespace ORV
