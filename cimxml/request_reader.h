#pragma once

#include <string_view>

#include "cimxml/messages.h"

namespace orv::cimxml {

/// Reads a request message.
///
/// Fails: BadMessage when the text is not well-formed, nested too deeply, or not a request that can
/// be served. An invalid parameter becomes the call's `failure`, with
/// CMPI_RC_ERR_INVALID_PARAMETER.
Call readCall(std::string_view text);

}  // namespace orv::cimxml
