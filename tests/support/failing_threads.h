#pragma once

#include <atomic>

namespace orv::test {

/// How many threads the program can still make; later calls of pthread_create fail with EAGAIN. At
/// first there is no limit.
extern std::atomic<int> threadsLeft;

}  // namespace orv::test
