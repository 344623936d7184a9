#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/hardware.h"

namespace LinuxHost {

/// Asks devices that may not answer, without ever waiting longer than a given time.
///
/// A device is asked by one thread at a time, and at most `mostThreads` threads ask. They end when
/// nothing is left to ask. One that waits for a device for ever is never ended, since nobody
/// can. Such a device is not asked again, and not waited for, before its earlier answer is
/// there. Any thread may call; the threads keep what they need alive.
class DeviceWorkers {
 public:
  /// `limit` is that of a call that gives none.
  explicit DeviceWorkers(unsigned mostThreads = 8,
                         std::chrono::milliseconds limit =
                             std::chrono::milliseconds(Hardware::kAnswerLimitMilliseconds));

  template <typename Answer>
  struct Question {
    std::string device;           ///< identifies the device among all questions
    std::function<Answer()> ask;  ///< owns all that it uses; one that throws has no answer
  };

  template <typename Answer>
  struct Outcome {
    std::shared_ptr<const Answer> answer;  ///< null when there is none
    std::string refused;                   ///< why there is none
  };

  /// The outcomes in the order of the questions. Questions about a device that is being asked by
  /// another call share its answer, so all questions about one device are of one kind.
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

  /// Threads that ask, or wait for a device, now.
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

/// Those of the process. Never destroyed: threads may still wait while the process exits.
DeviceWorkers& deviceWorkers();

}  // namespace LinuxHost
