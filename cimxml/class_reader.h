#pragma once

#include <pugixml.hpp>

#include "broker/class_repository.h"

namespace orv::cimxml {

/// Reads CLASS: qualifiers and properties, with inherited ones as far as the element has them.
/// Methods are ignored.
///
/// Fails: BadMessage without a name, CimError (CMPI_RC_ERR_INVALID_PARAMETER) for an unknown type.
broker::ClassDefinition readClass(const pugi::xml_node& node);

}  // namespace orv::cimxml
