#pragma once

#include "tool/options.h"

namespace orv::tool {

/// Whether the command is for other hosts.
bool isRemote(const Options& options);

/// Asks the hosts that the options name: one as if it were this one, several at the same time, with
/// the answers grouped by host. Returns the exit status.
///
/// Fails: BadInput, CimError, client::ConnectionError; of several hosts only what concerns all of
/// them.
int runRemotely(const Options& options);

}  // namespace orv::tool
