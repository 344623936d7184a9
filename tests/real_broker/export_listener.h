#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orv::test {

/// A client's listener for exported indications: answers each with success, one at a time.
class ExportListener {
 public:
  ExportListener();
  ~ExportListener();
  ExportListener(const ExportListener&) = delete;
  ExportListener& operator=(const ExportListener&) = delete;

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }
  /// Waits for an indication of this class, and answers its message; empty when none comes.
  std::string waitFor(const std::string& className, std::chrono::seconds limit);
  std::size_t count() const;

 private:
  void serve();
  void answer(int connection);

  int socket_;
  int port_ = 0;
  std::atomic<bool> ends_{false};
  mutable std::mutex mutex_;  // guards taken_
  std::condition_variable arrived_;
  std::vector<std::string> taken_;
  std::thread thread_;
};

}  // namespace orv::test
