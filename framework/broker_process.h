#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The process of the broker that this process descends from.
namespace ORV {

/// What the kernel says of a process in /proc/PID/stat; see proc(5).
struct ProcessStat {
  std::string name;              ///< of its program or as it has renamed itself; up to 15 bytes
  pid_t parent = 0;              ///< 0 when there is none, or none that this process can see
  std::uint64_t startTicks = 0;  ///< when it was forked: clock ticks since the system's start
  bool ended = false;            ///< it has ended and is only still listed (a zombie)
};

/// Takes the text of such a file apart:
///
///     text  = pid " (" name ") " state " " parent " " 17 numbers " " start " " ...
///
/// The state of a process that has ended is Z or X. The name may hold spaces and parentheses; it
/// ends at the last ")" of the text. Absent when the text has another form.
std::optional<ProcessStat> parseProcessStat(std::string_view text);

/// Reads /proc/PID/stat of this machine; absent when there is no such process or no /proc.
std::optional<ProcessStat> readProcessStat(pid_t process);

/// What is looked at to find a broker.
struct ProcessTable {
  std::function<std::optional<ProcessStat>(pid_t)> read;  ///< absent: no such process
  std::function<std::vector<pid_t>()> all;
};

/// The processes of this machine, from /proc.
ProcessTable thisMachine();

/// When the broker that `process` belongs to began to start, in ticks as in ProcessStat; absent
/// when it belongs to none.
///
/// The broker's daemon is the farthest one named "sfcbd" among `process` and its ancestors, since
/// the daemon's children, which serve requests, keep its name. On SIGHUP the daemon ends its
/// children and runs its program again, in the same process: its start time stays. So the broker is
/// as old as the oldest living child of the daemon, other than the branch of `process`, which may
/// have come at any time; and as old as the daemon when there is no other child.
std::optional<std::uint64_t> brokerStart(pid_t process, const ProcessTable& processes);

/// Whether brokerStart finds a broker.
bool belongsToBroker(pid_t process, const ProcessTable& processes);

/// How long ago brokerStart was, on this machine; absent when there is no broker.
std::optional<std::chrono::nanoseconds> brokerAge(pid_t process);

}  // namespace ORV
