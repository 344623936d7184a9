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

/// Prints metrics for Prometheus, after the providers' first look at the hardware. What the host
/// does not answer is named on standard error.
int runMetrics(const Options& options, Session& session);

/// Prints a monitoring plugin's verdict on the host. Returns its exit status.
///
/// Fails: BadInput for a threshold that is not a range, std::runtime_error when the state cannot be
/// written.
int runCheck(const Options& options, Session& session);

/// Becomes the daemon that serves CIM clients. Returns only with a failure.
///
/// Fails: BadInput when the daemon is not there.
int runServe(const Options& options);

/// Loads the provider of latched health, whose monitor then takes its first look at the hardware,
/// and waits until that has begun. Requests for records wait for the end of the look by themselves.
///
/// Fails: CimError.
void waitForFirstLook(broker::Broker& broker, const std::string& nameSpace);

/// The response itself when it is a success. Fails: CimError.
const broker::Response& successful(const broker::Response& response);

}  // namespace orv::tool
