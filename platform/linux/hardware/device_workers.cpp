#include "platform/linux/hardware/device_workers.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <map>
#include <mutex>

namespace LinuxHost {
namespace {

enum class Progress { kWaiting, kAsked, kAnswered };

struct Job {
  std::string device;
  std::function<std::shared_ptr<const void>()> ask;
  Progress progress = Progress::kWaiting;
  bool overdue = false;  ///< a caller has waited for it in vain
  std::shared_ptr<const void> answer;
};

using JobPointer = std::shared_ptr<Job>;

std::string seconds(std::chrono::milliseconds time) {
  std::string text = std::to_string(time.count() / 1000);
  if (time.count() % 1000 != 0) return std::to_string(time.count()) + " ms";
  return text + " s";
}

/// Blocks all signals during its own life, so that a thread made meanwhile receives none: they
/// belong to the object manager.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

struct DeviceWorkers::State {
  explicit State(unsigned most) : mostThreads(most) {}

  const unsigned mostThreads;
  std::mutex mutex;  ///< guards the members below and the jobs; nothing is locked after it
  std::condition_variable answered;
  std::deque<JobPointer> queue;
  std::map<std::string, JobPointer> busy;  ///< by device: waiting or asked
  unsigned threads = 0;

  JobPointer jobFor(RawQuestion question);
  void startThreads(const std::shared_ptr<State>& self);
  void giveUp(const JobPointer& job);
  std::string refusal(const JobPointer& job, std::chrono::milliseconds limit) const;
  void work();
  static void* threadBody(void* self);
};

/// Takes jobs until none is waiting. A question that throws has no answer.
void DeviceWorkers::State::work() {
  std::unique_lock lock(mutex);
  while (!queue.empty()) {
    const JobPointer job = std::move(queue.front());
    queue.pop_front();
    job->progress = Progress::kAsked;
    lock.unlock();
    std::shared_ptr<const void> answer;
    try {
      answer = job->ask();
    } catch (...) {
    }
    job->ask = nullptr;
    lock.lock();
    job->answer = std::move(answer);
    job->progress = Progress::kAnswered;
    busy.erase(job->device);
    answered.notify_all();
  }
  --threads;
}

void* DeviceWorkers::State::threadBody(void* self) {
  const std::unique_ptr<std::shared_ptr<State>> state(static_cast<std::shared_ptr<State>*>(self));
  (*state)->work();
  return nullptr;
}

JobPointer DeviceWorkers::State::jobFor(RawQuestion question) {
  const auto known = busy.find(question.device);
  if (known != busy.end()) return known->second;
  auto job = std::make_shared<Job>();
  job->device = std::move(question.device);
  job->ask = std::move(question.ask);
  queue.push_back(job);
  try {
    busy.emplace(job->device, job);
  } catch (...) {
    queue.pop_back();
    throw;
  }
  return job;
}

/// Starts as many threads as there are waiting questions, as far as the limit and the system allow.
/// Fails: std::bad_alloc.
void DeviceWorkers::State::startThreads(const std::shared_ptr<State>& self) {
  const BlockedSignals blocked;
  for (std::size_t wanted = queue.size(); wanted > 0 && threads < mostThreads; --wanted) {
    auto argument = std::make_unique<std::shared_ptr<State>>(self);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, threadBody, argument.get()) != 0) return;
    static_cast<void>(argument.release());  // freed by the thread
    pthread_detach(thread);
    ++threads;
  }
}

/// Drops a job that no thread has taken; one that is being asked stays.
void DeviceWorkers::State::giveUp(const JobPointer& job) {
  if (job->progress == Progress::kAnswered) return;
  if (job->progress == Progress::kAsked) {
    job->overdue = true;
    return;
  }
  const auto waiting = std::find(queue.begin(), queue.end(), job);
  if (waiting == queue.end()) return;
  queue.erase(waiting);
  busy.erase(job->device);
}

std::string DeviceWorkers::State::refusal(const JobPointer& job,
                                          std::chrono::milliseconds limit) const {
  if (job->progress == Progress::kAnswered) return "asking it failed";
  if (job->progress == Progress::kAsked) return "no answer within " + seconds(limit);
  if (threads == 0) return "not asked: no thread could be started";
  return "not asked: " + std::to_string(threads) + " devices do not answer";
}

DeviceWorkers::DeviceWorkers(unsigned mostThreads, std::chrono::milliseconds limit)
    : limit_(limit), state_(std::make_shared<State>(mostThreads)) {}

unsigned DeviceWorkers::threads() const {
  const std::lock_guard lock(state_->mutex);
  return state_->threads;
}

std::vector<DeviceWorkers::RawOutcome> DeviceWorkers::askRaw(std::vector<RawQuestion> questions,
                                                             std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::vector<JobPointer> jobs;
  jobs.reserve(questions.size());
  std::vector<RawOutcome> outcomes(questions.size());

  std::unique_lock lock(state_->mutex);
  // However this call ends, a question for which nobody waits any more is not asked later.
  const auto giveUpAll = [this](const std::vector<JobPointer>* left) {
    for (const JobPointer& job : *left) state_->giveUp(job);
  };
  const std::unique_ptr<const std::vector<JobPointer>, decltype(giveUpAll)> atEnd(&jobs, giveUpAll);
  for (RawQuestion& question : questions) jobs.push_back(state_->jobFor(std::move(question)));
  state_->startThreads(state_);
  const auto isSettled = [](const JobPointer& job) {
    return job->progress == Progress::kAnswered || job->overdue;
  };
  state_->answered.wait_until(lock, deadline, [&] {
    return state_->threads == 0 || std::all_of(jobs.begin(), jobs.end(), isSettled);
  });
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    if (jobs[i]->progress == Progress::kAnswered) outcomes[i].answer = jobs[i]->answer;
    if (outcomes[i].answer == nullptr) outcomes[i].refused = state_->refusal(jobs[i], limit);
  }
  return outcomes;
}

DeviceWorkers& deviceWorkers() {
  static auto* const workers = new DeviceWorkers;
  return *workers;
}

}  // namespace LinuxHost
