#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/serve/raw_client.h"
#include "tests/tool/program.h"

namespace orv::test {

/// orvcimd in a process of its own, on the simulated host of a file and a free port. Ended with the
/// object.
class RunningService {
 public:
  explicit RunningService(const std::string& hostFile, const std::vector<std::string>& more = {},
                          const std::vector<std::string>& environment = {})
      : program_(commandLine(hostFile, more, environment)) {
    EXPECT_TRUE(program_.waitForOutput("orvcimd: serving ")) << program_.wait().err;
    const std::string before = "http://127.0.0.1:";
    const std::size_t at = program_.output().find(before);
    if (at != std::string::npos) {
      port_ = std::atoi(program_.output().c_str() + at + before.size());
    }
  }
  ~RunningService() {
    program_.signal(SIGTERM);
    EXPECT_EQ(program_.wait().status, 0);
  }
  RunningService(const RunningService&) = delete;
  RunningService& operator=(const RunningService&) = delete;

  int port() const { return port_; }

  /// The whole answer, head and body. `headers` end with a line break each.
  std::string get(const std::string& path,
                  const std::string& headers = "Host: localhost\r\n") const {
    const serve::RawClient client(port_);
    client.send("GET " + path + " HTTP/1.1\r\n" + headers + "Connection: close\r\n\r\n");
    return client.receiveAll();
  }

 private:
  static std::vector<std::string> commandLine(const std::string& hostFile,
                                              const std::vector<std::string>& more,
                                              const std::vector<std::string>& environment) {
    std::vector<std::string> words = {"/usr/bin/env"};
    words.insert(words.end(), environment.begin(), environment.end());
    words.insert(words.end(), {ORV_BINARY_DIR "/bin/orvcimd", "--simulate", hostFile, "--listen",
                               "127.0.0.1:0"});
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  Program program_;
  int port_ = 0;
};

}  // namespace orv::test
