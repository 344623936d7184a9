#include "tool/threads.h"

#include <future>
#include <system_error>
#include <vector>

namespace orv::tool {

void runInThreads(std::size_t count, const std::function<void()>& work) {
  std::vector<std::future<void>> others;  // each waits for its thread when it is destroyed
  try {
    while (others.size() + 1 < count) others.push_back(std::async(std::launch::async, work));
  } catch (const std::system_error&) {  // the system allows no more
  }
  work();
}

}  // namespace orv::tool
