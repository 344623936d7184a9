// Every allocation of the library fails in turn, in every operation of every class of all
// libraries. A status is the answer, the process lives, and the next request is answered as ever.

#include <cstdio>

#include "tests/faults/failing_allocation.h"
#include "tests/faults/faults_fixture.h"
#include "tests/faults/library_code.h"

namespace orv::test {
namespace {

using AllocationFaults = Faults;

TEST_P(AllocationFaults, EveryAllocationFailsInTurn) {
  watchLibrary(GetParam().file);
  const Sample sample(GetParam().isHost ? 32 : 1);  // a host's hardware is thousands of texts
  std::size_t points = 0;
  const std::size_t live = broker::TestBroker::liveObjects();
  for (const NamedOperation& operation : operations_) {
    for (std::size_t number = 0;; ++number) {
      if (!sample.holds(number)) continue;
      sayOnCrash(operation.name, number);
      bool happened = false;
      CMPIrc rc = CMPI_RC_OK;
      {
        const FailingAllocation failing(number);
        rc = library().request(operation.request).rc;
        happened = failing.happened();
      }
      EXPECT_TRUE(isStatus(rc)) << operation.name << ", allocation " << number << ": " << rc;
      if (!happened) break;
      ++points;
      EXPECT_TRUE(answersAsBefore(library(), operation)) << operation.name << " after " << number;
    }
  }
  std::printf("%zu allocations failed in %zu operations\n", points, operations_.size());
  EXPECT_GT(points, GetParam().isHost ? 100U : operations_.size());
  EXPECT_EQ(broker::TestBroker::liveObjects(), live);
}

INSTANTIATE_TEST_SUITE_P(Libraries, AllocationFaults, allLibraries(), productName);

}  // namespace
}  // namespace orv::test
