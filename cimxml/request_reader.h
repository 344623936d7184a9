#pragma once

#include <string_view>

#include "cimxml/messages.h"

namespace orv::cimxml {

/// Reads a request message.
///
/// Fails: BadMessage when the text is not well-formed, too deep or not a message that we serve. A
/// parameter that makes no sense is the call's `failure`, with CMPI_RC_ERR_INVALID_PARAMETER.
Call readCall(std::string_view text);

}  // namespace orv::cimxml
