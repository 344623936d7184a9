// What the library stands on fails: every slot of the broker's tables in turn, descriptors, /sys
// and /proc; in every operation of every class of both libraries. A status is the answer, the
// process lives, and the next request is answered as ever.

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "tests/faults/faults_fixture.h"

namespace orv::test {
namespace {

using broker::Fault;

TEST_P(Faults, EverySlotOfTheBrokerFailsInTurn) {
  const Sample sample(8);
  std::size_t points = 0;
  std::size_t row = 0;
  const std::size_t live = broker::TestBroker::liveObjects();
  for (const NamedOperation& operation : operations_) {
    for (const std::string& slot : broker::faultSlots()) {
      for (const Fault::Effect effect : {Fault::Effect::kStatus, Fault::Effect::kNullResult,
                                         Fault::Effect::kNullText, Fault::Effect::kNullValue}) {
        for (int call = 0;; ++call) {
          if (!sample.holds(row++)) {
            if (call > 0) continue;
            break;
          }
          sayOnCrash(operation.name + ", " + slot, static_cast<std::size_t>(call));
          Fault fault;
          fault.slot = slot;
          fault.effect = effect;
          fault.skip = call;
          fault.times = 1;
          library().inject(fault);
          const CMPIrc rc = library().request(operation.request).rc;
          const bool happened = library().faultsToCome() == 0;
          library().clearFaults();
          EXPECT_TRUE(isStatus(rc)) << operation.name << ", " << slot << " " << call << ": " << rc;
          if (!happened) break;
          ++points;
          EXPECT_TRUE(answersAsBefore(library(), operation))
              << operation.name << " after " << slot << " " << call;
        }
      }
    }
  }
  std::printf("%zu calls of slots failed in %zu operations\n", points, operations_.size());
  EXPECT_GT(points, operations_.size());
  EXPECT_EQ(broker::TestBroker::liveObjects(), live);
}

TEST_P(Faults, NoDescriptorIsLeft) {
#ifdef __SANITIZE_ADDRESS__
  // It probes memory through a pipe, and calls every type that it meets for the first time wrong
  // when it gets none.
  GTEST_SKIP() << "the undefined-behaviour sanitizer beside it needs descriptors of its own";
#endif
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 3;
  for (const NamedOperation& operation : operations_) {
    sayOnCrash(operation.name + " without descriptors", 0);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const CMPIrc rc = library().request(operation.request).rc;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_TRUE(isStatus(rc)) << operation.name << ": " << rc;
    EXPECT_TRUE(answersAsBefore(library(), operation)) << operation.name;
  }
}

// In a mount namespace of the test's process, which has no way back.
TEST_P(Faults, NeitherSysNorProcIsThere) {
  if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0 ||
      mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    GTEST_SKIP() << "this process may not make a mount namespace of its own";
  }
  ASSERT_EQ(mount("none", "/sys", "tmpfs", 0, nullptr), 0);
  ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
  for (const NamedOperation& operation : operations_) {
    sayOnCrash(operation.name + " without /sys and /proc", 0);
    const CMPIrc rc = library().request(operation.request).rc;
    EXPECT_TRUE(isStatus(rc)) << operation.name << ": " << rc;
  }
  ASSERT_EQ(umount("/proc"), 0);
  ASSERT_EQ(umount("/sys"), 0);
  for (const NamedOperation& operation : operations_) {
    EXPECT_TRUE(answersAsBefore(library(), operation)) << operation.name;
  }
}

INSTANTIATE_TEST_SUITE_P(Libraries, Faults, allLibraries(), productName);

}  // namespace
}  // namespace orv::test
