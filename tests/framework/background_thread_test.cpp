#include "framework/background_thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <future>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include "broker/testing/test_broker.h"
#include "cmpi/cmpi_status.h"
#include "framework/thread_times.h"
#include "tests/support/recording_broker.h"

namespace {

using ORV::ThreadTools;
using ORV::ThreadWork;
using orv::test::RecordingBroker;
using std::chrono_literals::operator""s;
using std::chrono_literals::operator""ms;

/// What the program has in place of framework/thread_times.cpp and pthread_create.
struct Seams {
  std::atomic<std::chrono::milliseconds> period{0ms};
  std::atomic<std::chrono::milliseconds> patience{5000ms};
  std::atomic<std::chrono::milliseconds> startupLeft{0ms};
  std::atomic<int> startupQuestions{0};
  std::atomic<bool> threadsFail{false};
};

Seams seams;

std::size_t liveContexts() { return orv::broker::TestBroker::liveContexts(); }

}  // namespace

namespace ORV {

OMC::WallTime deadlineIn(std::chrono::seconds) {
  return std::chrono::system_clock::now() + seams.period.load();
}

std::chrono::nanoseconds brokerStartupLeft() {
  ++seams.startupQuestions;
  return seams.startupLeft.load();
}

std::chrono::milliseconds stopPatience() { return seams.patience; }

}  // namespace ORV

extern "C" {

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument) {
  if (seams.threadsFail) return EAGAIN;
  return __real_pthread_create(thread, attributes, body, argument);
}

}  // extern "C"

namespace {

/// A module with two threads, and a broker for them.
class BackgroundThreadTest : public testing::Test {
 protected:
  BackgroundThreadTest() {
    seams.period = 0ms;
    seams.patience = 5000ms;
    seams.startupLeft = 0ms;
    seams.startupQuestions = 0;
    seams.threadsFail = false;
  }
  ~BackgroundThreadTest() override { EXPECT_TRUE(group_.stop()); }

  /// Work that counts its cycles, and what is done in each.
  ThreadWork counting(std::function<void(int)> inCycle = [](int) {}) {
    ThreadWork work;
    work.cycle = [this, inCycle](const ThreadTools&) {
      inCycle(cycles_);
      ++cycles_;
    };
    work.period = [] { return 1s; };
    return work;
  }

  bool start(ORV::BackgroundThread& thread, ThreadWork work) {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    return thread.start(*broker_.broker(), broker_.context(), std::move(work));
  }

  bool isRunning(const ORV::BackgroundThread& thread) {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    return thread.isRunning();
  }

  void waitForCycles(int count) const {
    while (cycles_ < count) std::this_thread::yield();
  }

  RecordingBroker broker_;
  OMC::Mutex mutex_;
  OMC::Condition condition_;
  ORV::ThreadGroup group_{mutex_, condition_};
  ORV::BackgroundThread thread_{group_};
  ORV::BackgroundThread other_{group_};
  std::atomic<int> cycles_{0};
};

TEST_F(BackgroundThreadTest, WorksAtOnceAndAgainAfterEachPeriod) {
  EXPECT_TRUE(start(thread_, counting()));
  waitForCycles(10);
}

TEST_F(BackgroundThreadTest, WaitsForItsPeriodAndEndsWithinASecond) {
  seams.period = 3'600'000ms;
  start(thread_, counting());
  waitForCycles(1);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(group_.stop());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
  EXPECT_EQ(cycles_, 1);
}

TEST_F(BackgroundThreadTest, HoldsTheMutexInItsCyclesOnly) {
  seams.period = 3'600'000ms;
  std::atomic<bool> held{false};
  start(thread_, counting([&](int) { held = !mutex_.try_lock(); }));
  waitForCycles(1);
  EXPECT_TRUE(held);
  EXPECT_TRUE(isRunning(thread_)) << "the mutex can be had while it waits";
}

TEST_F(BackgroundThreadTest, IsStartedOnce) {
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(start(thread_, counting()));
  waitForCycles(1);
  EXPECT_EQ(broker_.preparedThreads(), 1);
}

TEST_F(BackgroundThreadTest, IsOneOfSeveralInItsGroup) {
  EXPECT_TRUE(start(thread_, counting()));
  EXPECT_TRUE(start(other_, counting()));
  EXPECT_EQ(broker_.preparedThreads(), 2);
  EXPECT_TRUE(isRunning(thread_));
  EXPECT_TRUE(isRunning(other_));
  EXPECT_TRUE(group_.stop());
  EXPECT_FALSE(isRunning(thread_));
  EXPECT_FALSE(isRunning(other_));
}

TEST_F(BackgroundThreadTest, EndsOnAnExceptionAndStartsAgain) {
  for (int round = 0; round < 50; ++round) {
    start(thread_, counting([](int) { throw std::runtime_error("out of luck"); }));
    while (isRunning(thread_)) std::this_thread::yield();
  }
  EXPECT_EQ(broker_.preparedThreads(), 50);
  EXPECT_EQ(cycles_, 0);
}

TEST_F(BackgroundThreadTest, AttachesOnlyWhereTheWorkSaysSo) {
  start(thread_, counting());
  waitForCycles(1);
  EXPECT_EQ(broker_.attachedThreads(), 0);
  ThreadWork work = counting();
  work.attaches = true;
  start(other_, std::move(work));
  while (broker_.attachedThreads() == 0) std::this_thread::yield();
}

TEST_F(BackgroundThreadTest, ThatCannotAttachDoesNoWork) {
  const std::function<CMPIrc()> failures[] = {
      [] { return CMPI_RC_ERR_FAILED; },
      []() -> CMPIrc { throw std::bad_alloc(); },
  };
  for (const auto& failure : failures) {
    broker_.onAttach = failure;
    ThreadWork work = counting();
    work.attaches = true;
    EXPECT_TRUE(start(thread_, std::move(work)));
    while (isRunning(thread_)) std::this_thread::yield();
    EXPECT_EQ(cycles_, 0);
  }
}

TEST_F(BackgroundThreadTest, EndsWhereItsPeriodCannotBeTold) {
  ThreadWork work = counting();
  work.period = []() -> std::chrono::seconds { throw std::bad_alloc(); };
  EXPECT_TRUE(start(thread_, std::move(work)));
  while (isRunning(thread_)) std::this_thread::yield();
  EXPECT_EQ(cycles_, 1);
}

TEST_F(BackgroundThreadTest, ThatCannotBeCreatedIsNotRunning) {
  seams.threadsFail = true;
  const std::size_t contexts = liveContexts();
  EXPECT_FALSE(start(thread_, counting()));
  EXPECT_FALSE(isRunning(thread_));
  EXPECT_EQ(liveContexts(), contexts) << "the prepared one is released";
  seams.threadsFail = false;
  EXPECT_TRUE(start(thread_, counting()));
}

TEST_F(BackgroundThreadTest, WithoutAPreparedContextIsNotStarted) {
  broker_.preparesNone = true;
  EXPECT_THROW(start(thread_, counting()), CmpiStatus);
  EXPECT_FALSE(isRunning(thread_));
}

TEST_F(BackgroundThreadTest, ReleasesItsPreparedContext) {
  const std::size_t contexts = liveContexts();
  start(thread_, counting());
  EXPECT_TRUE(group_.stop());
  EXPECT_EQ(liveContexts(), contexts);
}

TEST_F(BackgroundThreadTest, LeavesTheStopSignalToOtherThreads) {
  std::promise<bool> blocked;
  start(thread_, counting([&](int cycle) {
          sigset_t mask;
          pthread_sigmask(SIG_BLOCK, nullptr, &mask);
          if (cycle == 0) blocked.set_value(sigismember(&mask, SIGUSR1) == 1);
        }));
  EXPECT_TRUE(blocked.get_future().get());
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGUSR1), 0);
}

TEST_F(BackgroundThreadTest, ThatDeliversWaitsUntilTheBrokerHasStarted) {
  seams.startupLeft = 5ms;
  ThreadWork work = counting();
  work.delivers = true;
  start(thread_, std::move(work));
  while (seams.startupQuestions < 3) std::this_thread::yield();
  EXPECT_EQ(cycles_, 0) << "the broker's clock stands still, whatever the wall clock says";
  seams.startupLeft = 0ms;
  waitForCycles(2);
  const int questions = seams.startupQuestions;
  waitForCycles(4);
  EXPECT_EQ(seams.startupQuestions, questions) << "before the first cycle only";
}

TEST_F(BackgroundThreadTest, ThatDeliversNothingDoesNotWaitForTheBroker) {
  seams.startupLeft = 3'600'000ms;
  start(thread_, counting());
  waitForCycles(1);
}

TEST_F(BackgroundThreadTest, EndsWhileItWaitsForTheBroker) {
  seams.startupLeft = 3'600'000ms;
  ThreadWork work = counting();
  work.delivers = true;
  start(thread_, std::move(work));
  while (seams.startupQuestions < 1) std::this_thread::yield();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(group_.stop());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
  EXPECT_EQ(cycles_, 0);
}

TEST_F(BackgroundThreadTest, StartedAfterTheStopDoesNoWork) {
  EXPECT_TRUE(group_.stop());
  EXPECT_TRUE(start(thread_, counting()));
  EXPECT_TRUE(group_.stop());
  EXPECT_EQ(cycles_, 0);
}

TEST_F(BackgroundThreadTest, AreJoinedOnceAndEveryCallerReturnsAfterTheirEnd) {
  for (int round = 0; round < 100; ++round) {
    OMC::Mutex mutex;
    OMC::Condition condition;
    ORV::ThreadGroup group(mutex, condition);
    ORV::BackgroundThread one(group);
    ORV::BackgroundThread two(group);
    seams.period = round % 2 == 0 ? 0ms : 3'600'000ms;
    {
      const std::lock_guard<OMC::Mutex> lock(mutex);
      one.start(*broker_.broker(), broker_.context(), counting());
      two.start(*broker_.broker(), broker_.context(), counting());
    }
    std::vector<std::future<bool>> callers;
    for (int caller = 0; caller < 4; ++caller) {
      callers.push_back(std::async(std::launch::async, [&] {
        if (!group.stop()) return false;
        const std::lock_guard<OMC::Mutex> lock(mutex);
        return !one.isRunning() && !two.isRunning();
      }));
    }
    for (auto& caller : callers) EXPECT_TRUE(caller.get());
  }
}

/// A cycle that does not return until it is let go, in a group of its own, in which another thread
/// waits for an hour.
class StuckThread : public BackgroundThreadTest {
 protected:
  StuckThread() {
    seams.patience = 20ms;
    seams.period = 3'600'000ms;
    {
      const std::lock_guard<OMC::Mutex> lock(stuckMutex_);
      waiting_.start(*broker_.broker(), broker_.context(), counting());
    }
    waitForCycles(1);
    const std::lock_guard<OMC::Mutex> lock(stuckMutex_);  // which is free when it waits
    seams.period = 0ms;
    stuck_.start(*broker_.broker(), broker_.context(), counting([this](int) {
      std::unique_lock<std::mutex> own(gate_);
      arrived_ = true;
      changed_.notify_all();
      changed_.wait(own, [&] { return letGo_; });
    }));
  }
  ~StuckThread() override {
    letGo();
    // Both must have left before their surroundings do.
    while (liveContexts() > contexts_) std::this_thread::yield();
  }

  void waitForArrival() {
    std::unique_lock<std::mutex> lock(gate_);
    changed_.wait(lock, [&] { return arrived_; });
  }
  void letGo() {
    const std::lock_guard<std::mutex> lock(gate_);
    letGo_ = true;
    changed_.notify_all();
  }
  bool isRunningThere(const ORV::BackgroundThread& thread) {
    const std::lock_guard<OMC::Mutex> lock(stuckMutex_);
    return thread.isRunning();
  }

  std::size_t contexts_ = liveContexts();
  std::mutex gate_;
  std::condition_variable changed_;
  bool arrived_ = false;
  bool letGo_ = false;
  OMC::Mutex stuckMutex_;
  OMC::Condition stuckCondition_;
  ORV::ThreadGroup stuckGroup_{stuckMutex_, stuckCondition_};
  ORV::BackgroundThread waiting_{stuckGroup_};
  ORV::BackgroundThread stuck_{stuckGroup_};
};

TEST_F(StuckThread, IsGivenUpAfterTheStopsPatience) {
  waitForArrival();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(stuckGroup_.stop());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 15ms);
}

TEST_F(StuckThread, IsWaitedForOnce) {
  waitForArrival();
  EXPECT_FALSE(stuckGroup_.stop());
  seams.patience = 3'600'000ms;
  EXPECT_FALSE(stuckGroup_.stop());
}

TEST_F(StuckThread, IsGivenUpByEveryCaller) {
  waitForArrival();
  std::vector<std::future<bool>> callers;
  for (int caller = 0; caller < 4; ++caller) {
    callers.push_back(std::async(std::launch::async, [&] { return stuckGroup_.stop(); }));
  }
  for (auto& caller : callers) EXPECT_FALSE(caller.get());
}

TEST_F(StuckThread, EndsAfterItsCycleWithoutAnother) {
  waitForArrival();
  EXPECT_FALSE(stuckGroup_.stop());
  letGo();
  while (isRunningThere(stuck_)) std::this_thread::yield();
  EXPECT_EQ(cycles_, 2) << "one of each thread";
}

TEST_F(StuckThread, TakesTheOthersOfItsGroupWithIt) {
  waitForArrival();
  EXPECT_FALSE(stuckGroup_.stop());
  letGo();
  while (isRunningThere(waiting_)) std::this_thread::yield();
  EXPECT_EQ(cycles_, 2);
}

TEST_F(StuckThread, ThatReturnsInTimeIsJoined) {
  seams.patience = 3'600'000ms;
  waitForArrival();
  auto stopped = std::async(std::launch::async, [&] { return stuckGroup_.stop(); });
  EXPECT_EQ(stopped.wait_for(20ms), std::future_status::timeout);
  letGo();
  EXPECT_TRUE(stopped.get());
}

}  // namespace
