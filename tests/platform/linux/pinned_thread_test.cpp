#include "platform/linux/pinned_thread.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <cstring>
#include <stdexcept>

namespace LinuxHost {
namespace {

cpu_set_t affinity() {
  cpu_set_t set;
  CPU_ZERO(&set);
  EXPECT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
  return set;
}

unsigned lastAllowedCpu() {
  const cpu_set_t set = affinity();
  unsigned last = 0;
  for (unsigned cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (CPU_ISSET(cpu, &set)) last = cpu;
  }
  return last;
}

TEST(PinnedThread, RunsOnItsCpuAndGetsItsAffinityBack) {
  const cpu_set_t before = affinity();
  const unsigned cpu = lastAllowedCpu();
  {
    const PinnedThread pinned(cpu);
    const cpu_set_t during = affinity();
    EXPECT_EQ(CPU_COUNT(&during), 1);
    EXPECT_EQ(sched_getcpu(), static_cast<int>(cpu));
  }
  const cpu_set_t after = affinity();
  EXPECT_TRUE(CPU_EQUAL(&before, &after));
}

TEST(PinnedThread, GetsItsAffinityBackWhenTheReadingFails) {
  const cpu_set_t before = affinity();
  try {
    const PinnedThread pinned(lastAllowedCpu());
    throw std::runtime_error("reading failed");
  } catch (const std::runtime_error&) {
  }
  const cpu_set_t after = affinity();
  EXPECT_TRUE(CPU_EQUAL(&before, &after));
}

TEST(PinnedThread, StaysWhereItIsWhenTheCpuIsNotThere) {
  const cpu_set_t before = affinity();
  for (const unsigned cpu : {1023U, 65535U, 4294967295U}) {
    const PinnedThread pinned(cpu);
    const cpu_set_t during = affinity();
    EXPECT_TRUE(CPU_EQUAL(&before, &during)) << cpu;
  }
}

}  // namespace
}  // namespace LinuxHost
