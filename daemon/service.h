#pragma once

#include "daemon/options.h"

namespace orv::daemon {

/// Serves until SIGTERM or SIGINT; SIGHUP reads certificates again and forgets passwords.
/// Called before any thread starts: all threads inherit the mask that blocks the three signals, and
/// only the calling thread takes them.
///
/// Fails: tool::BadInput when something that the options name cannot be used; std::runtime_error.
void serve(const Options& options);

}  // namespace orv::daemon
