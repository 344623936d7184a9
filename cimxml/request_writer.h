#pragma once

#include <string>

#include "cimxml/messages.h"

namespace orv::cimxml {

/// The message of an intrinsic method call, as readCall reads it. `failure` is ignored. Characters
/// that XML cannot carry are replaced by U+FFFD.
std::string callMessage(const Call& call);

}  // namespace orv::cimxml
