#include "tests/tool/program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace orv::test {
namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
  }
  int ends[2];
};

void closeEnd(int& end) {
  if (end >= 0) close(end);
  end = -1;
}

// One read; closes the descriptor at its end.
void take(int& from, std::string& into) {
  char buffer[4096];
  const ssize_t count = read(from, buffer, sizeof buffer);
  if (count > 0) {
    into.append(buffer, static_cast<std::size_t>(count));
  } else {
    closeEnd(from);
  }
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments) {
  Pipe out;
  Pipe err;
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    dup2(out.ends[1], STDOUT_FILENO);
    dup2(err.ends[1], STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  closeEnd(out.ends[1]);
  closeEnd(err.ends[1]);
  out_ = out.ends[0];
  err_ = err.ends[0];
}

Program::~Program() {
  signal(SIGKILL);
  if (pid_ > 0) waitpid(pid_, nullptr, 0);
  closeEnd(out_);
  closeEnd(err_);
}

// Reads once. False when there is nothing more to read or time is up.
bool Program::collect(Clock::time_point end) {
  pollfd ends[] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  if (out_ < 0 && err_ < 0) return false;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
  if (poll(ends, 2, static_cast<int>(std::max<long>(left.count(), 0))) <= 0) return false;
  if (ends[0].revents != 0) take(out_, outcome_.out);
  if (ends[1].revents != 0) take(err_, outcome_.err);
  return true;
}

bool Program::waitForOutput(const std::string& text, std::chrono::seconds limit) {
  const Clock::time_point end = Clock::now() + limit;
  while (outcome_.out.find(text) == std::string::npos) {
    if (!collect(end)) return false;
  }
  return true;
}

// One that has ended has no number any more; -1 would be every process of the machine.
void Program::signal(int number) const {
  if (pid_ > 0) kill(pid_, number);
}

Outcome Program::wait(std::chrono::seconds limit) {
  const Clock::time_point end = Clock::now() + limit;
  while (collect(end)) {
  }
  if (out_ >= 0 || err_ >= 0) signal(SIGKILL);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return outcome_;
}

Outcome run(const std::vector<std::string>& arguments, std::chrono::seconds limit) {
  return Program(arguments).wait(limit);
}

}  // namespace orv::test
