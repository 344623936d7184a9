#pragma once

#include <cstddef>
#include <string>

namespace orv::tool {

/// A progress line on standard error, if that is a terminal; otherwise nothing.
class Progress {
 public:
  explicit Progress(std::size_t total);
  ~Progress() { hide(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(std::size_t done, std::size_t failed);
  /// Clears the line, so that other output can take its place.
  void hide();

 private:
  const std::size_t total_;
  const bool visible_;
  bool shown_ = false;
};

/// "[#####---------------] 5 of 20 hosts, 1 failed"
std::string progressText(std::size_t done, std::size_t total, std::size_t failed);

}  // namespace orv::tool
