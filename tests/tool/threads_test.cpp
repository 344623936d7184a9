// Threads when the system allows no more. The program replaces pthread_create.

#include "tool/threads.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <stdexcept>

namespace {

std::atomic<int> passing{1 << 30};  // calls that succeed before all others fail

}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
    void* argument) noexcept {
  if (passing-- <= 0) return EAGAIN;
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return next(thread, attributes, body, argument);
}

namespace orv::tool {
namespace {

TEST(Threads, WorkGoesOnWithThoseThatThereAre) {
  for (const int others : {0, 2, 1 << 30}) {
    passing = others;
    std::atomic<int> next{0};
    std::atomic<int> done{0};
    runInThreads(32, [&] {
      while (next++ < 40) ++done;
    });
    EXPECT_EQ(done, 40) << others;
  }
}

TEST(Threads, AreWaitedForWhenTheCallingOneThrows) {
  const pthread_t self = pthread_self();
  std::atomic<int> done{0};
  EXPECT_THROW(runInThreads(4,
                            [&] {
                              if (pthread_equal(self, pthread_self()) != 0) {
                                throw std::runtime_error("full disk");
                              }
                              ++done;
                            }),
               std::runtime_error);
  EXPECT_EQ(done, 3);
}

}  // namespace
}  // namespace orv::tool
