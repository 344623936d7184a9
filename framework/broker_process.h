#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// The process of the broker that this process descends from.
namespace ORV {

/// What the kernel tells of a process in /proc/PID/stat; see proc(5).
struct ProcessStat {
  std::string name;              ///< of its program or as it has renamed itself; up to 15 bytes
  pid_t parent = 0;              ///< 0 when there is none, or none that this process can see
  std::uint64_t startTicks = 0;  ///< when it was forked: clock ticks since the system's start
};

/// Takes the text of such a file apart:
///
///     text  = pid " (" name ") " state " " parent " " 17 numbers " " start " " ...
///
/// The name may hold spaces and parentheses; it ends at the last ")" of the text. Absent when the
/// text has another form.
std::optional<ProcessStat> parseProcessStat(std::string_view text);

/// Reads /proc/PID/stat of this machine; absent when there is no such process or no /proc.
std::optional<ProcessStat> readProcessStat(pid_t process);

/// The broker's daemon among `process` and its ancestors: the farthest one named "sfcbd", since
/// the daemon's children, which serve requests, keep its name. Absent when none has it. `read`
/// tells of a process as readProcessStat does.
std::optional<ProcessStat> findBroker(pid_t process,
                                      const std::function<std::optional<ProcessStat>(pid_t)>& read);

/// Age of the daemon that findBroker finds on this machine; absent when there is none.
std::optional<std::chrono::nanoseconds> brokerAge(pid_t process);

}  // namespace ORV
