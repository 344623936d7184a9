#include "tests/web/browser.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/support/free_port.h"

namespace orv::test {
namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

const char* const kDriver = "/usr/bin/chromedriver";
const char* const kBrowser = "/usr/bin/chromium";

std::size_t keep(char* data, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

Json ask(const std::string& url, const Json& body, const char* method) {
  std::string answer;
  const std::string text = body.dump();
  CURL* client = curl_easy_init();
  curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
  curl_easy_setopt(client, CURLOPT_URL, url.c_str());
  curl_easy_setopt(client, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(client, CURLOPT_NOPROXY, "*");
  curl_easy_setopt(client, CURLOPT_TIMEOUT, 60L);
  curl_easy_setopt(client, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(client, CURLOPT_CUSTOMREQUEST, method);
  if (!body.is_null()) {
    curl_easy_setopt(client, CURLOPT_POSTFIELDS, text.data());
    curl_easy_setopt(client, CURLOPT_POSTFIELDSIZE, static_cast<long>(text.size()));
  }
  curl_easy_setopt(client, CURLOPT_WRITEFUNCTION, &keep);
  curl_easy_setopt(client, CURLOPT_WRITEDATA, &answer);
  const CURLcode code = curl_easy_perform(client);
  curl_slist_free_all(headers);
  curl_easy_cleanup(client);
  if (code != CURLE_OK) ADD_FAILURE() << url << ": " << curl_easy_strerror(code);
  const Json json = Json::parse(answer, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || !json.contains("value")) return nullptr;
  const Json& value = json["value"];
  if (value.is_object() && value.contains("error")) ADD_FAILURE() << url << ": " << value.dump();
  return value;
}

Json capabilities(const std::string& profile, int width, int height, bool dark) {
  Json arguments = {"--headless=new",
                    "--no-sandbox",
                    "--disable-gpu",
                    "--disable-dev-shm-usage",
                    "--disable-background-networking",
                    "--hide-scrollbars",
                    "--lang=en-GB",
                    "--no-proxy-server",
                    "--window-size=" + std::to_string(width) + "," + std::to_string(height),
                    "--user-data-dir=" + profile};
  if (dark) arguments.push_back("--force-dark-mode");
  const Json wanted = {{"browserName", "chrome"},
                       {"goog:loggingPrefs", {{"browser", "ALL"}, {"performance", "ALL"}}},
                       {"goog:chromeOptions", {{"binary", kBrowser}, {"args", arguments}}}};
  return {{"capabilities", {{"alwaysMatch", wanted}}}};
}

std::string decodeBase64(const std::string& text) {
  const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned buffer = 0;
  int bits = 0;
  for (const char c : text) {
    const std::size_t value = letters.find(c);
    if (value == std::string::npos) break;
    buffer = buffer << 6 | static_cast<unsigned>(value);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(buffer >> bits & 0xFF);
  }
  return bytes;
}

}  // namespace

std::string Browser::missing() {
  for (const char* program : {kDriver, kBrowser}) {
    if (::access(program, X_OK) != 0) return std::string(program) + " is not there";
  }
  return "";
}

Browser::Browser(int width, int height, bool dark) {
  if (mkdtemp(directory_) == nullptr) std::abort();
  const std::string before = "started successfully on port ";
  // Left to itself, the driver takes a free port of IPv6 and ends when it is not free in IPv4,
  // which is likely beside tests with thousands of connections.
  for (int tries = 0; tries < 5; ++tries) {
    driver_ = std::make_unique<Program>(
        std::vector<std::string>{kDriver, "--port=" + std::to_string(freePort())});
    if (driver_->waitForOutput(before)) break;
  }
  if (driver_->output().find(before) == std::string::npos || !driver_->waitForOutput(".\n")) {
    throw std::runtime_error("chromedriver does not start: " + driver_->output());
  }
  const std::string& said = driver_->output();
  base_ = "http://127.0.0.1:" +
          std::to_string(std::atoi(said.c_str() + said.find(before) + before.size())) + "/session";
  const Json session = ask(base_, capabilities(directory_, width, height, dark), "POST");
  if (session.is_object()) session_ = session.value("sessionId", "");
}

Browser::~Browser() {
  if (!session_.empty()) ask(base_ + "/" + session_, nullptr, "DELETE");
  driver_.reset();
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

Json Browser::call(const std::string& path, const Json& body) {
  return ask(base_ + "/" + session_ + path, body, "POST");
}

void Browser::open(const std::string& url) { call("/url", {{"url", url}}); }

Json Browser::run(const std::string& script) {
  return call("/execute/sync", {{"script", script}, {"args", Json::array()}});
}

bool Browser::waitUntil(const std::string& script, int seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  for (;;) {
    if (run(script) == true) return true;
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
}

void Browser::screenshot(const std::string& file) {
  const Json picture = ask(base_ + "/" + session_ + "/screenshot", nullptr, "GET");
  std::ofstream(file, std::ios::binary) << decodeBase64(picture.get<std::string>());
}

void Browser::command(const std::string& name, const Json& parameters) {
  call("/goog/cdp/execute", {{"cmd", name}, {"params", parameters}});
}

Json Browser::logOf(const char* type) { return call("/se/log", {{"type", type}}); }

std::vector<std::string> Browser::consoleErrors() {
  std::vector<std::string> errors;
  for (const Json& entry : logOf("browser")) {
    if (entry.value("level", "") == "SEVERE") errors.push_back(entry.value("message", ""));
  }
  return errors;
}

std::vector<std::string> Browser::requests() {
  std::vector<std::string> urls;
  for (const Json& entry : logOf("performance")) {
    const Json message = Json::parse(entry.value("message", "{}"), nullptr, false)["message"];
    if (message.value("method", "") != "Network.requestWillBeSent") continue;
    const Json& parameters = message["params"];
    // Not those of the browser's own pages.
    if (parameters.value("documentURL", "").rfind("http", 0) != 0) continue;
    urls.push_back(parameters["request"].value("url", ""));
  }
  return urls;
}

}  // namespace orv::test
