#pragma once

#include "daemon/options.h"

namespace orv::daemon {

/// Serves until SIGTERM or SIGINT; SIGHUP reads certificates again and forgets passwords. The
/// caller has blocked all three before any thread started.
///
/// Fails: tool::BadInput when something that the options name cannot be used; std::runtime_error.
void serve(const Options& options);

}  // namespace orv::daemon
