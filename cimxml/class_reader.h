#pragma once

#include <pugixml.hpp>

#include "broker/class_repository.h"

namespace orv::cimxml {

/// CLASS, with what it inherits where the element tells that. Without methods.
///
/// Fails: BadMessage without a name, CimError (CMPI_RC_ERR_INVALID_PARAMETER) for an unknown type.
broker::ClassDefinition readClass(const pugi::xml_node& node);

}  // namespace orv::cimxml
