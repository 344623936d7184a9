#pragma once

#include <functional>

#include "broker/broker.h"

namespace orv::metrics {

/// Asks a host: the embedded broker, or another one over the network. What it throws passes through
/// whoever asks.
using Ask = std::function<broker::Response(const broker::Request&)>;

}  // namespace orv::metrics
