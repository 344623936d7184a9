#pragma once

#include "daemon/options.h"

namespace orv::daemon {

/// Serves until SIGTERM or SIGINT, which the caller has blocked with SIGHUP before any thread
/// began.
///
/// Fails: tool::BadInput for what the options name and cannot be used; std::runtime_error.
void serve(const Options& options);

}  // namespace orv::daemon
