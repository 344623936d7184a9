#pragma once

#include <functional>

#include "broker/broker.h"

namespace orv::metrics {

/// Sends a request to a host: to this one through the embedded broker, or to another over the
/// network. Functions that take an Ask pass on what it throws.
using Ask = std::function<broker::Response(const broker::Request&)>;

}  // namespace orv::metrics
