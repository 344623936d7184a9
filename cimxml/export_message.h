#pragma once

#include <string>

#include "broker/values.h"

namespace orv::cimxml {

/// The ExportIndication request for one indication.
std::string exportMessage(const broker::Instance& indication, const std::string& messageId);

}  // namespace orv::cimxml
