#pragma once

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orv::test {

/// A client's listener: takes what is exported to it over HTTP.
class IndicationListener {
 public:
  IndicationListener();
  ~IndicationListener();
  IndicationListener(const IndicationListener&) = delete;
  IndicationListener& operator=(const IndicationListener&) = delete;

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/listener"; }

  /// Answers that many requests with status 503 first.
  void failNext(int count);
  /// While true, requests wait.
  void hold(bool on);

  /// Waits until that many requests have been answered with 200. False when they do not come.
  bool waitFor(std::size_t count);
  /// Waits until that many requests have arrived, answered or not.
  bool waitForArrivals(std::size_t count);

  std::vector<httplib::Request> taken() const;
  std::size_t arrivals() const;

 private:
  void answer(const httplib::Request& request, httplib::Response& response);

  httplib::Server server_;
  int port_ = 0;
  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::vector<httplib::Request> taken_;
  std::size_t arrivals_ = 0;
  int failures_ = 0;
  bool hold_ = false;
  std::thread thread_;
};

}  // namespace orv::test
