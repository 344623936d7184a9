#pragma once

#include <cstddef>
#include <functional>

namespace orv::tool {

/// Calls `work` in up to `count` threads at the same time, of which the calling thread is one, and
/// returns when all calls have ended. There are fewer threads where the system allows no more. Only
/// in the calling thread may `work` throw.
void runInThreads(std::size_t count, const std::function<void()>& work);

}  // namespace orv::tool
