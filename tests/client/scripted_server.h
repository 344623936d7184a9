#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orv::test {

/// A server on a loopback port that answers each request with what the test says, one connection at
/// a time.
class ScriptedServer {
 public:
  /// The bytes to answer a request with, HTTP head included. They are sent again and again when
  /// `endless`.
  using Script = std::function<std::string(const std::string& request)>;

  explicit ScriptedServer(Script script, bool endless = false);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  int port() const { return port_; }
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
  /// What was asked so far.
  std::vector<std::string> requests() const;

 private:
  void serve();
  void answer(int connection);
  std::string readRequest(int connection) const;

  const Script script_;
  const bool endless_;
  int socket_ = -1;
  int port_ = 0;
  std::atomic<bool> ends_{false};
  mutable std::mutex mutex_;  // guards requests_
  std::vector<std::string> requests_;
  std::thread thread_;
};

/// A whole HTTP answer.
std::string httpAnswer(int status, const std::string& type, const std::string& body);

/// A CIM-XML answer with this return value.
std::string cimAnswer(const std::string& value);

}  // namespace orv::test
