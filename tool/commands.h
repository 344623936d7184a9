#pragma once

#include <string>

#include "client/cim_client.h"
#include "tool/options.h"
#include "tool/printer.h"

namespace orv::tool {

/// Carries out a command that asks for something. Returns the exit status.
///
/// Fails: CimError, BadInput, and what the client throws when there is no answer.
int runCommand(const Options& options, client::CimClient& client, Printer& printer);

/// Prints indications until SIGINT or SIGTERM. Both must be blocked in every thread.
int runWatch(const Options& options, client::CimClient& client, Printer& printer);

/// Prints the roll-up and the latched records, after the providers' first look at the hardware.
int runHealth(const Options& options, client::CimClient& client, Printer& printer);

/// Prints metrics for Prometheus, after the providers' first look at the hardware. What the host
/// does not answer is told beside them.
int runMetrics(const Options& options, client::CimClient& client, Printer& printer);

/// Prints a monitoring plugin's verdict on the host. Returns its exit status.
///
/// Fails: BadInput for a threshold that is not a range, std::runtime_error when the state cannot be
/// written.
int runCheck(const Options& options, client::CimClient& client);

/// Becomes the daemon that serves CIM clients. Returns only with a failure.
///
/// Fails: BadInput when the daemon is not there.
int runServe(const Options& options);

/// The namespace that a command is about: that of its object path, or else the one of the options.
///
/// Fails: BadInput for a text that is not an object path.
std::string nameSpaceOf(const Options& options);

/// The response itself when it is a success. Fails: CimError.
const broker::Response& successful(const broker::Response& response);

}  // namespace orv::tool
