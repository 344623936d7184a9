#pragma once

#include <pthread.h>

namespace ORV {

/// Starts a joinable thread that leaves SIGUSR1 to the object manager's threads: there the signal
/// ends the process in good order.
///
/// `argument` belongs to the thread once it is started. Fails: the error number of pthread_create;
/// 0 is success.
int startBackgroundThread(pthread_t& thread, void* (*body)(void*), void* argument);

}  // namespace ORV
