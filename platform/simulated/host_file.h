#pragma once

#include <memory>

#include "platform/simulated/simulated_host.h"

namespace simulated {

/// The host that the file named by ORV_HOST_FILE describes now.
///
/// Reads the file at every call. A text that is the same as the last one is not parsed again, so
/// two calls may share one host, which never changes. Fails: writes one line with the file and the
/// place to standard error, and returns null. Any thread may call.
std::shared_ptr<const SimulatedHost> loadHost();

}  // namespace simulated
