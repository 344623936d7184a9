#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

struct MHD_Daemon;

namespace orv::test {

/// What a listener was sent.
struct Exported {
  std::string path;
  std::map<std::string, std::string> headers;
  std::string body;
};

/// A client's listener: takes what is exported to it over HTTP, or over HTTPS when it is given a
/// certificate and its key in PEM.
class IndicationListener {
 public:
  explicit IndicationListener(const std::string& certificate = "", const std::string& key = "");
  ~IndicationListener();
  IndicationListener(const IndicationListener&) = delete;
  IndicationListener& operator=(const IndicationListener&) = delete;

  std::string url() const {
    return scheme_ + "://127.0.0.1:" + std::to_string(port_) + "/listener";
  }

  /// Answers that many requests with status 503 first.
  void failNext(int count);
  /// While true, requests wait.
  void hold(bool on);

  /// Waits until that many requests have been answered with 200. False when they do not come.
  bool waitFor(std::size_t count);
  /// Waits until that many requests have arrived, answered or not.
  bool waitForArrivals(std::size_t count);

  std::vector<Exported> taken() const;
  /// Forgets what was taken; arrivals count on.
  void forget();
  std::size_t arrivals() const;

  /// The status for a whole request; waits while requests are held. Called by the server.
  unsigned answer(const Exported& request);

 private:
  const std::string scheme_;
  int port_ = 0;
  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::vector<Exported> taken_;
  std::size_t arrivals_ = 0;
  int failures_ = 0;
  bool hold_ = false;
  MHD_Daemon* daemon_ = nullptr;
};

}  // namespace orv::test
