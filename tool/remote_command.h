#pragma once

#include "tool/options.h"

namespace orv::tool {

/// Whether the options name other hosts.
bool isRemote(const Options& options);

/// Runs the command on the hosts that the options name: on one host as on this one, on several at
/// the same time with the answers grouped by host. Returns the exit status.
///
/// Fails: BadInput, CimError, client::ConnectionError; with several hosts only for what concerns
/// all of them.
int runRemotely(const Options& options);

}  // namespace orv::tool
