#include "tool/threads.h"

#include <system_error>
#include <thread>
#include <vector>

namespace orv::tool {
namespace {

/// Threads, waited for at the end of the object's life.
class Threads {
 public:
  Threads() = default;
  ~Threads() {
    for (std::thread& thread : threads_) thread.join();
  }
  Threads(const Threads&) = delete;
  Threads& operator=(const Threads&) = delete;

  /// False when the system allows no more.
  bool start(const std::function<void()>& work) try {
    threads_.emplace_back(work);
    return true;
  } catch (const std::system_error&) {
    return false;
  }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace

void runInThreads(std::size_t count, const std::function<void()>& work) {
  Threads others;
  for (std::size_t i = 1; i < count && others.start(work); ++i) {
  }
  work();
}

}  // namespace orv::tool
