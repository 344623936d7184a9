#include "tests/heartbeat/heartbeat_seams.h"

#include <pthread.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <mutex>

#include "framework/thread_times.h"

namespace orv::test {
namespace {

struct Periods {
  std::mutex mutex;
  std::vector<long> asked;
};

Periods& periods() {
  static auto* const all = new Periods;
  return *all;
}

/// Where `path` leads in this program; null: nowhere.
const char* redirected(const char* path) {
  if (std::strcmp(path, "/etc/sfcb/sfcb.cfg") != 0) return path;
  const std::string& file = heartbeatSeams().configurationFile;
  return file.empty() ? nullptr : file.c_str();
}

int missing() {
  errno = ENOENT;
  return -1;
}

}  // namespace

std::vector<long> HeartbeatSeams::periodsAskedFor() const {
  const std::lock_guard<std::mutex> lock(periods().mutex);
  return periods().asked;
}

HeartbeatSeams& heartbeatSeams() {
  static auto* const seams = new HeartbeatSeams;
  return *seams;
}

}  // namespace orv::test

using orv::test::heartbeatSeams;
using orv::test::missing;
using orv::test::redirected;

namespace ORV {

OMC::WallTime deadlineIn(std::chrono::seconds period) {
  {
    auto& periods = orv::test::periods();
    const std::lock_guard<std::mutex> lock(periods.mutex);
    if (periods.asked.size() < 1000) periods.asked.push_back(period.count());
  }
  return std::chrono::system_clock::now() +
         std::chrono::hours(heartbeatSeams().periodsToPass-- > 0 ? 0 : 1);
}

std::chrono::nanoseconds brokerStartupLeft() {
  return std::chrono::hours(heartbeatSeams().brokerStarted ? 0 : 1);
}

std::chrono::milliseconds stopPatience() { return heartbeatSeams().stopPatience; }

}  // namespace ORV

extern "C" {

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument) {
  if (heartbeatSeams().threadsFail) return EAGAIN;
  return __real_pthread_create(thread, attributes, body, argument);
}

std::time_t __wrap_time(std::time_t* now) {
  const std::time_t seconds = heartbeatSeams().now;
  if (now != nullptr) *now = seconds;
  return seconds;
}

int __wrap_gethostname(char* name, std::size_t size) {
  const std::string& host = heartbeatSeams().hostName;
  std::strncpy(name, host.c_str(), size);  // without an end when it is too long
  return host.size() < size ? 0 : -1;
}

int __real_stat(const char* path, struct stat* status);

int __wrap_stat(const char* path, struct stat* status) {
  const char* const file = redirected(path);
  return file == nullptr ? missing() : __real_stat(file, status);
}

int __real_open(const char* path, int flags, ...);

/// Without a mode: nothing here makes a file that way.
int __wrap_open(const char* path, int flags, ...) {
  const char* const file = redirected(path);
  return file == nullptr ? missing() : __real_open(file, flags);
}

}  // extern "C"
