#pragma once

namespace orv::tool {

/// Blocks the signals that end a command which runs until it is told to stop: SIGINT, SIGTERM, and
/// SIGHUP of a terminal that is closed. Called before any thread starts, so that every thread
/// inherits it and the main thread alone takes them. A reader of the output that goes away is no
/// signal any more, but a failure of the stream.
void blockEndSignals();

/// Waits for one of them. Later ones are left alone: what ends is ending.
void waitForEndSignal();

/// True once, when one of them has come that nobody waited for.
bool takeEndSignal();

/// Sends this process one of them: it cannot go on.
void raiseEndSignal();

}  // namespace orv::tool
