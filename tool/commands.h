#pragma once

#include <string>

#include "client/cim_client.h"
#include "tool/options.h"
#include "tool/printer.h"

namespace orv::tool {

/// Runs any command except serve. Returns the exit status.
///
/// Fails: CimError, BadInput, and as the client does when there is no answer.
int runCommand(const Options& options, client::CimClient& client, Printer& printer);

/// Prints indications until SIGINT, SIGTERM or SIGHUP. The caller has called blockEndSignals.
int runWatch(const Options& options, client::CimClient& client, Printer& printer);

/// Prints the roll-up and the latched records, once the providers have read the hardware.
int runHealth(const Options& options, client::CimClient& client, Printer& printer);

/// Prints a monitoring plugin's verdict on the host and returns the plugin's exit status.
///
/// Fails: BadInput for a threshold that is not a range, std::runtime_error when the state cannot be
/// written.
int runCheck(const Options& options, client::CimClient& client);

/// Executes the daemon that serves CIM clients in place of this program. Does not return.
///
/// Fails: BadInput when the daemon cannot be executed.
int runServe(const Options& options);

/// The namespace of a command: that of its object path, or else that of the options.
///
/// Fails: BadInput for a text that is not an object path.
std::string nameSpaceOf(const Options& options);

/// Returns the response if its status is OK. Fails: CimError.
const broker::Response& successful(const broker::Response& response);

}  // namespace orv::tool
