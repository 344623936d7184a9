#include "tool/progress.h"

#include <unistd.h>

#include <iostream>

namespace orv::tool {
namespace {

constexpr std::size_t kWidth = 20;
constexpr const char* kClearLine = "\r\x1B[K";

}  // namespace

std::string progressText(std::size_t done, std::size_t total, std::size_t failed) {
  const std::size_t full = total == 0 ? kWidth : kWidth * done / total;
  std::string text = "[" + std::string(full, '#') + std::string(kWidth - full, '-') + "] " +
                     std::to_string(done) + " of " + std::to_string(total) + " hosts";
  if (failed > 0) text += ", " + std::to_string(failed) + " failed";
  return text;
}

Progress::Progress(std::size_t total) : total_(total), visible_(isatty(STDERR_FILENO) == 1) {}

void Progress::show(std::size_t done, std::size_t failed) {
  if (!visible_) return;
  std::cerr << kClearLine << progressText(done, total_, failed) << std::flush;
  shown_ = true;
}

void Progress::hide() {
  if (shown_) std::cerr << kClearLine << std::flush;
  shown_ = false;
}

}  // namespace orv::tool
