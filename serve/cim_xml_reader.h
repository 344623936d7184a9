#pragma once

#include <cstddef>
#include <string_view>

#include "serve/messages.h"

namespace orv::serve {

/// Elements may nest this deep; a request of a client nests about a dozen.
constexpr std::size_t kMaximumXmlDepth = 64;

/// Reads a request message.
///
/// Fails: BadMessage when the text is not well-formed, too deep or no message that we serve. A
/// parameter that makes no sense is the call's `failure`, with CMPI_RC_ERR_INVALID_PARAMETER.
Call readCall(std::string_view text);

/// Reads one INSTANCE element given as text, as in an exported indication's embedded instance.
///
/// Fails: BadMessage, or CimError for a value that does not fit its type.
broker::Instance readInstance(std::string_view text);

}  // namespace orv::serve
