#pragma once

namespace orv::tool {

/// Blocks the signals that end a command which runs until it is told to stop: SIGINT, SIGTERM, and
/// SIGHUP when the terminal is closed. Called before any thread starts: all threads inherit the
/// mask, and only the main thread takes the signals. Also ignores SIGPIPE: when the reader of the
/// output goes away, writing fails instead.
void blockEndSignals();

/// Waits for one of them. Those that follow are ignored, because the command is ending.
void waitForEndSignal();

/// True if one of them is pending, the first time only. For work that does not wait.
bool takeEndSignal();

/// Sends one of them to this process.
void raiseEndSignal();

}  // namespace orv::tool
