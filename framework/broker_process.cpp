#include "framework/broker_process.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <ctime>

namespace ORV {

namespace {

constexpr std::string_view kDaemonName = "sfcbd";

/// Numbers of the fields after the name, counted from the state, which is the first.
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

}  // namespace

std::optional<ProcessStat> parseProcessStat(std::string_view text) {
  const std::size_t begin = text.find('(');
  const std::size_t end = text.rfind(") ");
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return {};
  const std::string_view fields = text.substr(end + 2);
  ProcessStat stat;
  stat.name = text.substr(begin + 1, end - begin - 1);
  const bool complete = readNumber(fieldOf(fields, kParentField), stat.parent) &&
                        readNumber(fieldOf(fields, kStartField), stat.startTicks);
  return complete ? std::optional(stat) : std::nullopt;
}

std::optional<ProcessStat> readProcessStat(pid_t process) {
  std::array<char, 4096> buffer;
  const File file(("/proc/" + std::to_string(process) + "/stat").c_str());
  return parseProcessStat(file.readInto(buffer));
}

std::optional<ProcessStat> findBroker(
    pid_t process, const std::function<std::optional<ProcessStat>(pid_t)>& read) {
  std::optional<ProcessStat> daemon;
  for (int count = 0; process > 0 && count < kMostAncestors; ++count) {
    const std::optional<ProcessStat> stat = read(process);
    if (!stat) break;
    if (stat->name == kDaemonName) daemon = stat;
    process = stat->parent;
  }
  return daemon;
}

std::optional<std::chrono::nanoseconds> brokerAge(pid_t process) {
  const std::optional<ProcessStat> daemon = findBroker(process, readProcessStat);
  if (!daemon) return std::nullopt;
  return sinceBoot() - fromTicks(daemon->startTicks);
}

}  // namespace ORV
