#include "framework/broker_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <memory>

namespace ORV {

namespace {

constexpr std::string_view kDaemonName = "sfcbd";

/// Numbers of the fields after the name, counted from the state, which is the first.
constexpr int kStateField = 0;
constexpr int kParentField = 1;
constexpr int kStartField = 19;

/// Far more than any tree of processes has, in case processes come and go while it is climbed.
constexpr int kMostAncestors = 1000;

class File {
 public:
  explicit File(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /// Bytes read; nothing when the file is not open or cannot be read.
  template <std::size_t size>
  std::string_view readInto(std::array<char, size>& buffer) const {
    const ssize_t count = read(descriptor_, buffer.data(), size);
    return {buffer.data(), count < 0 ? 0 : static_cast<std::size_t>(count)};
  }

 private:
  int descriptor_;
};

/// The field with that number of a text whose fields are separated by single spaces; empty when
/// there are fewer.
std::string_view fieldOf(std::string_view text, int number) {
  for (; number > 0; --number) {
    const std::size_t space = text.find(' ');
    if (space == std::string_view::npos) return {};
    text.remove_prefix(space + 1);
  }
  return text.substr(0, text.find_first_of(" \n"));
}

template <typename Number>
bool readNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

std::chrono::nanoseconds sinceBoot() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

std::chrono::nanoseconds fromTicks(std::uint64_t ticks) {
  const auto perSecond = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
  constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
  return std::chrono::seconds(ticks / perSecond) +
         std::chrono::nanoseconds(ticks % perSecond * kNanosecondsPerSecond / perSecond);
}

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

/// The names of /proc that are numbers.
std::vector<pid_t> listProcesses() {
  std::vector<pid_t> processes;
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir("/proc"));
  if (!directory) return processes;
  while (const dirent* entry = readdir(directory.get())) {
    pid_t process = 0;
    if (readNumber(entry->d_name, process)) processes.push_back(process);
  }
  return processes;
}

/// The daemon above a process, and its child on the way there. No process: 0.
struct Daemon {
  pid_t process = 0;
  pid_t branch = 0;
  std::uint64_t startTicks = 0;
};

Daemon findDaemon(pid_t process, const ProcessTable& processes) {
  Daemon daemon;
  pid_t child = 0;
  for (int count = 0; process > 0 && count < kMostAncestors; ++count) {
    const std::optional<ProcessStat> stat = processes.read(process);
    if (!stat) break;
    if (stat->name == kDaemonName) daemon = {process, child, stat->startTicks};
    child = process;
    process = stat->parent;
  }
  return daemon;
}

}  // namespace

std::optional<ProcessStat> parseProcessStat(std::string_view text) {
  const std::size_t begin = text.find('(');
  const std::size_t end = text.rfind(") ");
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return {};
  const std::string_view fields = text.substr(end + 2);
  ProcessStat stat;
  stat.name = text.substr(begin + 1, end - begin - 1);
  const std::string_view state = fieldOf(fields, kStateField);
  stat.ended = state == "Z" || state == "X";
  const bool complete = readNumber(fieldOf(fields, kParentField), stat.parent) &&
                        readNumber(fieldOf(fields, kStartField), stat.startTicks);
  return complete ? std::optional(stat) : std::nullopt;
}

std::optional<ProcessStat> readProcessStat(pid_t process) {
  std::array<char, 4096> buffer;
  const File file(("/proc/" + std::to_string(process) + "/stat").c_str());
  return parseProcessStat(file.readInto(buffer));
}

ProcessTable thisMachine() { return {readProcessStat, listProcesses}; }

std::optional<std::uint64_t> brokerStart(pid_t process, const ProcessTable& processes) {
  const Daemon daemon = findDaemon(process, processes);
  if (daemon.process == 0) return std::nullopt;
  std::optional<std::uint64_t> oldest;
  for (const pid_t other : processes.all()) {
    const std::optional<ProcessStat> stat = processes.read(other);
    if (!stat || stat->parent != daemon.process || stat->ended || other == daemon.branch) continue;
    oldest = std::min(oldest.value_or(stat->startTicks), stat->startTicks);
  }
  return oldest.value_or(daemon.startTicks);
}

bool belongsToBroker(pid_t process, const ProcessTable& processes) {
  return findDaemon(process, processes).process != 0;
}

std::optional<std::chrono::nanoseconds> brokerAge(pid_t process) {
  const std::optional<std::uint64_t> start = brokerStart(process, thisMachine());
  if (!start) return std::nullopt;
  return sinceBoot() - fromTicks(*start);
}

}  // namespace ORV
