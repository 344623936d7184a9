#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/hardware.h"

namespace LinuxHost {

/// Asks devices that may not answer, and never waits longer than a given time.
///
/// A device is asked by one thread at a time, and at most `mostThreads` threads ask. They end when
/// there is nothing left to ask. A thread that waits for a device for ever is never ended, since
/// nothing can end it. Such a device is neither asked again nor waited for until it has answered.
/// Any thread may call; the threads keep alive what they need.
class DeviceWorkers {
 public:
  /// `limit` is how long a call waits that gives no limit of its own.
  explicit DeviceWorkers(unsigned mostThreads = 8,
                         std::chrono::milliseconds limit =
                             std::chrono::milliseconds(Hardware::kAnswerLimitMilliseconds));

  template <typename Answer>
  struct Question {
    std::string device;           ///< identifies the device among all questions
    std::function<Answer()> ask;  ///< owns what it uses; when it throws, there is no answer
  };

  template <typename Answer>
  struct Outcome {
    std::shared_ptr<const Answer> answer;  ///< null when there is none
    std::string refused;                   ///< why there is none
  };

  /// The outcomes, in the order of the questions. A question about a device that another call is
  /// asking shares that call's answer, so all questions about a device must be of one kind.
  ///
  /// Fails: std::bad_alloc.
  template <typename Answer>
  std::vector<Outcome<Answer>> ask(std::vector<Question<Answer>> questions) {
    return ask(std::move(questions), limit_);
  }
  template <typename Answer>
  std::vector<Outcome<Answer>> ask(std::vector<Question<Answer>> questions,
                                   std::chrono::milliseconds limit) {
    std::vector<RawQuestion> raw;
    raw.reserve(questions.size());
    for (Question<Answer>& question : questions) {
      raw.push_back({std::move(question.device), [asked = std::move(question.ask)] {
                       return std::shared_ptr<const void>(std::make_shared<const Answer>(asked()));
                     }});
    }
    std::vector<Outcome<Answer>> outcomes;
    outcomes.reserve(raw.size());
    for (RawOutcome& outcome : askRaw(std::move(raw), limit)) {
      outcomes.push_back({std::static_pointer_cast<const Answer>(std::move(outcome.answer)),
                          std::move(outcome.refused)});
    }
    return outcomes;
  }

  /// How many threads ask, or wait for a device, at the moment.
  unsigned threads() const;

 private:
  struct State;
  struct RawQuestion {
    std::string device;
    std::function<std::shared_ptr<const void>()> ask;
  };
  struct RawOutcome {
    std::shared_ptr<const void> answer;
    std::string refused;
  };

  std::vector<RawOutcome> askRaw(std::vector<RawQuestion> questions,
                                 std::chrono::milliseconds limit);

  std::chrono::milliseconds limit_;
  std::shared_ptr<State> state_;
};

/// The workers of the process. Never destroyed: threads may still wait while the process exits.
DeviceWorkers& deviceWorkers();

}  // namespace LinuxHost
