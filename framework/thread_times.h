#pragma once

#include <chrono>

#include "framework/locks.h"

/// How long background threads wait, and how long others wait for them. Defined in an object
/// library of its own, in place of which tests link one that lets time pass at once.
namespace ORV {

/// Wall-clock now (gettimeofday) plus the period.
OMC::WallTime deadlineIn(std::chrono::seconds period);

/// How long no indication may be delivered yet, because the broker that started this process is
/// still starting itself; zero or less when indications may go out.
///
/// A starting sfcb restores its persisted subscriptions, and so starts our threads, before it
/// initialises the semaphore that deliveries wait on: an indication delivered then blocks for
/// ever, with the lock of all up-calls held. Such a broker is left alone until it is 10 seconds
/// old, counted from its last restart (framework/broker_process.h).
std::chrono::nanoseconds brokerStartupLeft();

/// How long a terminating cleanup waits for threads that do not end: 5 seconds, or 0.3 below sfcb's
/// daemon.
///
/// An sfcb that stops no longer answers its providers: a call that waits for it never returns, and
/// time spent on it only makes the stop longer. It also repeats the stop each second until the
/// process has ended, each time in a thread of its own.
std::chrono::milliseconds stopPatience();

}  // namespace ORV
