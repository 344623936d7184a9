#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "broker/broker_tables.h"
#include "broker/heap.h"
#include "broker/object_tools.h"
#include "broker/thread_state.h"

/// Threads, mutexes and conditions; memory marks.
namespace orv::broker {
namespace {

char* resolveFileName(const char* name) {
  const std::string file = "lib" + std::string(name != nullptr ? name : "") + ".so";
  return strdup(file.c_str());  // the caller frees it
}

void* newThread(void* (*start)(void*), void* parameter, int detached) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (detached != 0) pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread{};
  const int error = pthread_create(&thread, &attributes, start, parameter);
  pthread_attr_destroy(&attributes);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the C interface passes a pthread_t as a pointer
  return error == 0 ? reinterpret_cast<void*>(thread) : nullptr;
}

int threadOnce(int* once, void (*start)(void)) { return pthread_once(once, start); }

int createThreadKey(pthread_key_t* key, void (*cleanup)(void*)) {
  return pthread_key_create(key, cleanup);
}
int destroyThreadKey(pthread_key_t key) { return pthread_key_delete(key); }
void* getThreadSpecific(pthread_key_t key) { return pthread_getspecific(key); }
int setThreadSpecific(pthread_key_t key, void* value) { return pthread_setspecific(key, value); }

// The provider owns what these make and calls the matching destroy slot.
void* newMutex(int /*opt*/) {
  auto* mutex = new (std::nothrow) pthread_mutex_t;
  if (mutex == nullptr) return nullptr;
  pthread_mutex_init(mutex, nullptr);
  return mutex;
}
void destroyMutex(void* mutex) {
  pthread_mutex_destroy(static_cast<pthread_mutex_t*>(mutex));
  delete static_cast<pthread_mutex_t*>(mutex);
}
void lockMutex(void* mutex) { pthread_mutex_lock(static_cast<pthread_mutex_t*>(mutex)); }
void unlockMutex(void* mutex) { pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex)); }

void* newCondition(int /*opt*/) {
  auto* condition = new (std::nothrow) pthread_cond_t;
  if (condition == nullptr) return nullptr;
  pthread_cond_init(condition, nullptr);
  return condition;
}
void destroyCondition(void* condition) {
  pthread_cond_destroy(static_cast<pthread_cond_t*>(condition));
  delete static_cast<pthread_cond_t*>(condition);
}
int condWait(void* condition, void* mutex) {
  return pthread_cond_wait(static_cast<pthread_cond_t*>(condition),
                           static_cast<pthread_mutex_t*>(mutex));
}
int timedCondWait(void* condition, void* mutex, struct timespec* deadline) {
  return pthread_cond_timedwait(static_cast<pthread_cond_t*>(condition),
                                static_cast<pthread_mutex_t*>(mutex), deadline);
}

/// Deliberate (contract.md#mark-status): the status argument is left untouched.
CMPIGcStat* mark(const CMPIBroker* /*broker*/, CMPIStatus* /*out*/) try {
  return ThreadHeap::ofThisThread().mark();
} catch (const std::bad_alloc&) {
  return nullptr;
}

CMPIStatus release(const CMPIBroker* /*broker*/, const CMPIGcStat* token) {
  ThreadHeap& heap = ThreadHeap::ofThisThread();
  if (heap.isInnermost(token)) {
    heap.releaseInnermost();
    return status(CMPI_RC_OK);
  }
  const char* what = "releases a memory mark of another thread, or one that is released already";
  if (token == nullptr) what = "releases a null memory mark: a crash";
  if (heap.isOpen(token)) what = "releases a memory mark before the one inside it";
  report("", "", what);
  return status(CMPI_RC_ERR_FAILED);
}

}  // namespace

CMPIBrokerExtFT* serviceTable() {
  static CMPIBrokerExtFT table = {CMPIVersion200,   resolveFileName,   newThread,
                                  nullptr,          nullptr,           nullptr,
                                  nullptr,          threadOnce,        createThreadKey,
                                  destroyThreadKey, getThreadSpecific, setThreadSpecific,
                                  newMutex,         destroyMutex,      lockMutex,
                                  unlockMutex,      newCondition,      destroyCondition,
                                  condWait,         timedCondWait,     nullptr};
  return &table;
}

CMPIBrokerMemFT* memoryTable() {
  static CMPIBrokerMemFT table = [] {
    CMPIBrokerMemFT empty{};
    empty.ftVersion = CMPIVersion200;
    empty.mark = mark;
    empty.release = slot<release>;
    return empty;
  }();
  return &table;
}

}  // namespace orv::broker
