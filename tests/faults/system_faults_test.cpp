// Every call by which a library reaches the kernel, files and threads fails in turn, in every
// operation of every class, and threads while the library starts. A status is the answer, no
// descriptor is left open, and the next request is answered as ever.

#include <dirent.h>
#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <map>

#include "tests/faults/failing_system_call.h"
#include "tests/faults/faults_fixture.h"
#include "tests/faults/library_code.h"

namespace orv::test {
namespace {

std::size_t openDescriptors() {
  DIR* directory = opendir("/proc/self/fd");
  std::size_t count = 0;
  while (readdir(directory) != nullptr) ++count;
  closedir(directory);
  return count;
}

using SystemFaults = Faults;

TEST_P(SystemFaults, EveryCallOfTheSystemFailsInTurn) {
  watchLibrary(GetParam().file);
  const Sample sample(GetParam().isHost ? 32 : 4);
  std::map<std::string, std::size_t> points;
  const std::size_t live = broker::TestBroker::liveObjects();
  const std::size_t descriptors = openDescriptors();
  for (const NamedOperation& operation : operations_) {
    for (std::size_t number = 0;; ++number) {
      const bool isLast = [&] {
        if (!sample.holds(number)) return false;
        sayOnCrash(operation.name + ", system call", number);
        std::string failed;
        CMPIrc rc = CMPI_RC_OK;
        {
          const FailingSystemCall failing(number);
          rc = library().request(operation.request).rc;
          failed = failing.failed();
        }
        EXPECT_TRUE(isStatus(rc)) << operation.name << ", " << failed << " " << number << ": "
                                  << rc;
        if (failed.empty()) return true;
        ++points[failed];
        EXPECT_TRUE(answersAsBefore(library(), operation))
            << operation.name << " after " << failed << " " << number;
        return false;
      }();
      if (isLast) break;
    }
  }
  for (const auto& [name, count] : points)
    std::printf("%s: failed %zu times\n", name.c_str(), count);
  EXPECT_GT(points.size(), GetParam().isSimulated ? 0U : 4U);
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_EQ(broker::TestBroker::liveObjects(), live);
}

/// The library from its start to its end: a subscription starts its heartbeat, the next one both
/// of its monitors.
class Life {
 public:
  Life() : library_(ORV_SIMULATED_LIBRARY) {
    subscribe("Orvane_CIMHeartbeat");
    subscribe("Orvane_KernelIPChangedIndication");
    broker::Request request;
    request.operation = broker::Operation::kEnumerateInstances;
    request.path.nameSpace = "root/cimv2";
    request.path.className = "Orvane_RollupHealthState";
    statuses_.push_back(library_->request(request).rc);
  }

  const std::vector<CMPIrc>& statuses() const { return statuses_; }

 private:
  void subscribe(const std::string& className) {
    broker::IndicationFilter filter;
    filter.query = "SELECT * FROM " + className;
    statuses_.push_back(library_->subscribe(filter, [](const broker::Instance&) {}).rc);
  }

  std::vector<CMPIrc> statuses_;
  LoadedLibrary library_;
};

/// Starts the library while its thread of that number cannot be started, and ends the process: 0
/// when everything else is served (a provider whose start fails is kept, and has logged why).
[[noreturn]] void liveWithoutThread(std::size_t number) {
  setenv("ORV_HOST_FILE", ORV_SOURCE_DIR "/tests/hosts/example.json", 1);
  if (dlopen(ORV_SIMULATED_LIBRARY, RTLD_NOW | RTLD_LOCAL) == nullptr) _exit(2);
  watchLibrary(ORV_SIMULATED_LIBRARY);
  const FailingSystemCall failing(number, "pthread_create");
  const Life life;
  const bool failed = failing.failed() == "pthread_create";
  _exit(failed && life.statuses() == std::vector<CMPIrc>(3, CMPI_RC_OK) ? 0 : 1);
}

// Each in a process of its own: a library that has ended does not begin again.
TEST(ThreadFaultsDeathTest, WithoutTheHeartbeatsThreadTheOthersAreServed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(liveWithoutThread(0), testing::ExitedWithCode(0), "");
}

TEST(ThreadFaultsDeathTest, WithoutAMonitorsThreadTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(liveWithoutThread(1), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(liveWithoutThread(2), testing::KilledBySignal(SIGABRT), "");
}

INSTANTIATE_TEST_SUITE_P(Libraries, SystemFaults, allLibraries(), productName);

}  // namespace
}  // namespace orv::test
