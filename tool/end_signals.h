#pragma once

namespace orv::tool {

/// Blocks the signals that end a command which runs until it is told to stop, SIGINT and SIGTERM.
/// Called before any thread starts, so that every thread inherits it and the main thread alone
/// takes them.
void blockEndSignals();

/// Waits for one of them.
void waitForEndSignal();

}  // namespace orv::tool
