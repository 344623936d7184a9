#include "serve/body_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orv::serve {

bool BodyStream::append(std::string_view text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (ended_) return false;
  if (waiting_.size() - taken_ + text.size() > limit_) {
    ended_ = true;
  } else {
    waiting_.erase(0, std::exchange(taken_, 0));
    waiting_.append(text);
  }
  wake();
  return !ended_;
}

void BodyStream::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ended_ = true;
  wake();
}

bool BodyStream::ended() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return ended_;
}

BodyStream::State BodyStream::read(Reader& reader, char* to, std::size_t size, std::size_t& taken) {
  const std::lock_guard<std::mutex> lock(mutex_);
  taken = std::min(size, waiting_.size() - taken_);
  if (taken == 0) {
    if (ended_) return State::kEnded;
    paused_ = &reader;
    reader.pause();
    return State::kPaused;
  }
  std::memcpy(to, waiting_.data() + taken_, taken);
  taken_ += taken;
  if (taken_ == waiting_.size()) {
    waiting_.clear();
    taken_ = 0;
  }
  return State::kData;
}

bool BodyStream::beat() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (paused_ == nullptr) return false;
  waiting_ += beat_;
  wake();
  return true;
}

void BodyStream::abandon() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ended_ = true;
  paused_ = nullptr;
}

void BodyStream::wake() {
  if (paused_ != nullptr) std::exchange(paused_, nullptr)->goOn();
}

}  // namespace orv::serve
