#include "tests/heartbeat/heartbeat_seams.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cstdio>
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

using Opener = FILE* (*)(const char*, const char*);

FILE* openRedirected(const char* path, const char* mode) {
  static const auto next = reinterpret_cast<Opener>(dlsym(RTLD_NEXT, "fopen64"));
  if (std::strcmp(path, "/etc/sfcb/sfcb.cfg") != 0) return next(path, mode);
  const std::string& file = heartbeatSeams().configurationFile;
  if (!file.empty()) return next(file.c_str(), mode);
  errno = ENOENT;
  return nullptr;
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

/// With which the C++ library's file streams open their files.
__attribute__((visibility("default"))) FILE* fopen64(const char* path, const char* mode) {
  return orv::test::openRedirected(path, mode);
}

}  // extern "C"
