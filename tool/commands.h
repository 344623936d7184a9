#pragma once

#include "tool/options.h"
#include "tool/printer.h"
#include "tool/session.h"

namespace orv::tool {

/// Carries out the command. Returns the exit status.
///
/// Fails: CimError, BadInput.
int runCommand(const Options& options, Session& session, Printer& printer);

/// Prints indications until SIGINT or SIGTERM. Both must be blocked in every thread.
int runWatch(const Options& options, Session& session, Printer& printer);

/// Prints the roll-up and the latched records, after the providers' first look at the hardware.
int runHealth(const Options& options, Session& session, Printer& printer);

/// Becomes the daemon that serves CIM clients. Returns only with a failure.
///
/// Fails: BadInput when the daemon is not there.
int runServe(const Options& options);

/// The response itself when it is a success. Fails: CimError.
const broker::Response& successful(const broker::Response& response);

}  // namespace orv::tool
