#pragma once

#include <pthread.h>

#include <memory>
#include <new>

namespace platform {

/// One T for each thread that asks for it: made at the thread's first call, destroyed when the
/// thread ends.
///
/// Used instead of thread_local, whose storage in a library loaded at run time belongs to the
/// loader, where a thread sanitizer does not see it. For objects of static storage duration: the
/// slot itself is never given back. Any thread may call.
template <typename T>
class ThreadSlot {
 public:
  ThreadSlot() : usable_(pthread_key_create(&key_, destroy) == 0) {}
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;

  /// The calling thread's value. Fails: std::bad_alloc when there is no room for another slot or
  /// value.
  T& get() {
    if (!usable_) throw std::bad_alloc();
    if (void* value = pthread_getspecific(key_)) return *static_cast<T*>(value);
    auto made = std::make_unique<T>();
    if (pthread_setspecific(key_, made.get()) != 0) throw std::bad_alloc();
    return *made.release();  // freed by destroy
  }

 private:
  static void destroy(void* value) { delete static_cast<T*>(value); }

  pthread_key_t key_{};
  const bool usable_;
};

}  // namespace platform
