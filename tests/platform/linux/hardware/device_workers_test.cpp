#include "platform/linux/hardware/device_workers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {
std::atomic<bool> noThreads{false};
}

extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument) {
  if (noThreads) return EAGAIN;
  return __real_pthread_create(thread, attributes, body, argument);
}
}

namespace LinuxHost {
namespace {

using namespace std::chrono_literals;
using Question = DeviceWorkers::Question<int>;
using testing::HasSubstr;

constexpr auto kLong = 60s;  // never passes
constexpr auto kShort = 20ms;

/// A device that answers 7 once the test lets it.
struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  unsigned asked = 0;
  bool isOpen = false;

  int answer() {
    std::unique_lock lock(mutex);
    ++asked;
    changed.notify_all();
    changed.wait(lock, [this] { return isOpen; });
    return 7;
  }
  void open() {
    const std::lock_guard lock(mutex);
    isOpen = true;
    changed.notify_all();
  }
  unsigned timesAsked() {
    const std::lock_guard lock(mutex);
    return asked;
  }
};

using GatePointer = std::shared_ptr<Gate>;

std::vector<Question> questionsTo(const GatePointer& gate,
                                  const std::vector<std::string>& devices) {
  std::vector<Question> questions;
  for (const std::string& device : devices) {
    questions.push_back({device, [gate] { return gate->answer(); }});
  }
  return questions;
}

void waitUntilIdle(const DeviceWorkers& workers) {
  while (workers.threads() > 0) std::this_thread::yield();
}

TEST(DeviceWorkers, AnswersComeInTheOrderOfTheQuestions) {
  DeviceWorkers workers(3);
  std::vector<Question> questions;
  for (int i = 0; i < 50; ++i) questions.push_back({std::to_string(i), [i] { return i; }});
  const auto outcomes = workers.ask(std::move(questions), kLong);
  ASSERT_EQ(outcomes.size(), 50u);
  for (int i = 0; i < 50; ++i) {
    ASSERT_NE(outcomes[i].answer, nullptr) << i;
    EXPECT_EQ(*outcomes[i].answer, i);
    EXPECT_EQ(outcomes[i].refused, "");
  }
  waitUntilIdle(workers);  // the threads end by themselves
}

TEST(DeviceWorkers, NoQuestionNoThread) {
  DeviceWorkers workers;
  EXPECT_TRUE(workers.ask(std::vector<Question>(), kLong).empty());
  EXPECT_EQ(workers.threads(), 0u);
}

TEST(DeviceWorkers, ADeviceThatHangsDoesNotHoldTheOthers) {
  DeviceWorkers workers;
  const auto gate = std::make_shared<Gate>();
  const auto alone = workers.ask(questionsTo(gate, {"hung"}), kShort);
  EXPECT_EQ(alone[0].answer, nullptr);
  EXPECT_EQ(alone[0].refused, "no answer within 20 ms");
  std::vector<Question> questions = questionsTo(gate, {"hung"});
  questions.push_back({"good", [] { return 1; }});
  const auto outcomes = workers.ask(std::move(questions), kLong);
  EXPECT_EQ(outcomes[0].answer, nullptr);
  ASSERT_NE(outcomes[1].answer, nullptr);
  gate->open();
  waitUntilIdle(workers);
}

TEST(DeviceWorkers, ADeviceThatHangsIsNeitherAskedAgainNorWaitedFor) {
  DeviceWorkers workers;
  const auto gate = std::make_shared<Gate>();
  workers.ask(questionsTo(gate, {"hung"}), kShort);
  for (int i = 0; i < 100; ++i) {
    // The limit is not waited for: this would take hours.
    const auto outcomes = workers.ask(questionsTo(gate, {"hung"}), kLong);
    EXPECT_THAT(outcomes[0].refused, HasSubstr("no answer"));
  }
  EXPECT_EQ(gate->timesAsked(), 1u);
  EXPECT_EQ(workers.threads(), 1u);
  gate->open();
  waitUntilIdle(workers);
  const auto outcomes = workers.ask(questionsTo(gate, {"hung"}), kLong);
  ASSERT_NE(outcomes[0].answer, nullptr);
  EXPECT_EQ(*outcomes[0].answer, 7);
}

TEST(DeviceWorkers, ThereAreNeverMoreThreadsThanTheLimit) {
  DeviceWorkers workers(2);
  const auto gate = std::make_shared<Gate>();
  do {  // on a busy machine a thread may begin later than the limit
    workers.ask(questionsTo(gate, {"a", "b"}), kShort);
  } while (gate->timesAsked() < 2);
  const auto outcomes = workers.ask(questionsTo(gate, {"a", "b", "c", "d"}), kShort);
  EXPECT_EQ(workers.threads(), 2u);
  EXPECT_THAT(outcomes[1].refused, HasSubstr("no answer"));
  EXPECT_EQ(outcomes[2].refused, "not asked: 2 devices do not answer");
  EXPECT_EQ(outcomes[3].refused, "not asked: 2 devices do not answer");
  EXPECT_EQ(gate->timesAsked(), 2u);
  gate->open();
  waitUntilIdle(workers);
  EXPECT_EQ(gate->timesAsked(), 2u);  // what nobody waits for any more is not asked
}

TEST(DeviceWorkers, WithoutAThreadNothingIsAskedOrWaitedFor) {
  DeviceWorkers workers;
  const auto gate = std::make_shared<Gate>();
  noThreads = true;
  const auto outcomes = workers.ask(questionsTo(gate, {"a", "b"}), kLong);
  noThreads = false;
  for (const auto& outcome : outcomes) {
    EXPECT_EQ(outcome.answer, nullptr);
    EXPECT_EQ(outcome.refused, "not asked: no thread could be started");
  }
  gate->open();
  EXPECT_NE(workers.ask(questionsTo(gate, {"a"}), kLong)[0].answer, nullptr);
  waitUntilIdle(workers);
  EXPECT_EQ(gate->timesAsked(), 1u);
}

TEST(DeviceWorkers, TwoCallsShareOneAnswer) {
  DeviceWorkers workers;
  const auto gate = std::make_shared<Gate>();
  std::vector<int> answers(2);
  const auto ask = [&](int& answer) {
    answer = *workers.ask(questionsTo(gate, {"slow"}), kLong).at(0).answer;
  };
  std::thread first(ask, std::ref(answers[0]));
  while (gate->timesAsked() == 0) std::this_thread::yield();
  std::thread second(ask, std::ref(answers[1]));
  gate->open();
  first.join();
  second.join();
  EXPECT_EQ(answers, (std::vector<int>{7, 7}));
  waitUntilIdle(workers);
}

TEST(DeviceWorkers, AnExceptionIsNoAnswer) {
  DeviceWorkers workers;
  const auto outcomes = workers.ask(
      std::vector<Question>{{"bad", []() -> int { throw std::runtime_error("x"); }}}, kLong);
  EXPECT_EQ(outcomes[0].answer, nullptr);
  EXPECT_EQ(outcomes[0].refused, "asking it failed");
  waitUntilIdle(workers);
}

TEST(DeviceWorkers, MayGoWhileAThreadStillWaits) {
  const auto gate = std::make_shared<Gate>();
  {
    DeviceWorkers workers;
    workers.ask(questionsTo(gate, {"hung"}), kShort);
  }
  gate->open();
  while (gate.use_count() > 1) std::this_thread::yield();
}

}  // namespace
}  // namespace LinuxHost
