#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tool/program.h"

namespace orv::test {

/// A headless Chromium, driven by its driver over the WebDriver protocol. Ends with the object.
class Browser {
 public:
  /// Empty when there is a browser; or what is missing.
  static std::string missing();

  explicit Browser(int width = 1280, int height = 900, bool dark = false);
  ~Browser();
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  void open(const std::string& url);
  /// What the body of a function returns in the page.
  nlohmann::json run(const std::string& script);
  /// Runs it until it returns true. False when it does not in time.
  bool waitUntil(const std::string& script, int seconds = 60);
  /// PNG file of what can be seen.
  void screenshot(const std::string& file);
  /// A command of the browser's own debugging protocol.
  void command(const std::string& name, const nlohmann::json& parameters);

  /// Errors that the console shows, since the last call.
  std::vector<std::string> consoleErrors();
  /// URLs that pages from the network asked for, since the last call.
  std::vector<std::string> requests();

 private:
  nlohmann::json call(const std::string& path, const nlohmann::json& body);
  nlohmann::json logOf(const char* type);

  char directory_[32] = "/tmp/orv-browser-XXXXXX";
  std::unique_ptr<Program> driver_;
  std::string base_;
  std::string session_;
};

}  // namespace orv::test
