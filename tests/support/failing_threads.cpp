// Replaces pthread_create.

#include "tests/support/failing_threads.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>

namespace orv::test {

std::atomic<int> threadsLeft{1 << 30};

}  // namespace orv::test

extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
    void* argument) noexcept {
  if (orv::test::threadsLeft-- <= 0) return EAGAIN;
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return next(thread, attributes, body, argument);
}
