#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace orv::test {

/// What a program left behind.
struct Outcome {
  int status = -1;  ///< exit status; 128 and the signal's number when a signal ended it
  std::string out;
  std::string err;
};

/// A program that runs in a process of its own, its output collected. Killed with the object.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Collects until standard output holds `text`. False when the program ends before, or time is
  /// up.
  bool waitForOutput(const std::string& text,
                     std::chrono::seconds limit = std::chrono::seconds(60));
  /// Standard output so far.
  const std::string& output() const { return outcome_.out; }
  void signal(int number) const;
  /// Waits for the end; a program that does not end in time is killed.
  Outcome wait(std::chrono::seconds limit = std::chrono::seconds(60));

 private:
  bool collect(std::chrono::steady_clock::time_point end);

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  Outcome outcome_;
};

Outcome run(const std::vector<std::string>& arguments,
            std::chrono::seconds limit = std::chrono::seconds(60));

}  // namespace orv::test
