// What Prometheus itself makes of our metrics and rules: promtool checks them, and a Prometheus
// scrapes simulated hosts. Skipped where the Debian package prometheus is not installed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/daemon/running_service.h"
#include "tests/support/free_port.h"
#include "tests/tool/program.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::Contains;
using testing::IsEmpty;

const std::string kPackaging = ORV_SOURCE_DIR "/packaging/prometheus";
const std::string kPromtool = "/usr/bin/promtool";
const std::string kPrometheus = "/usr/bin/prometheus";

#define SKIP_WITHOUT(program)               \
  if (access((program).c_str(), X_OK) != 0) \
  GTEST_SKIP() << (program) << " is not installed (Debian package prometheus)"

class Directory {
 public:
  Directory() {
    if (mkdtemp(path_) == nullptr) std::abort();
  }
  ~Directory() { fs::remove_all(path_); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  std::string file(const std::string& name) const { return std::string(path_) + "/" + name; }
  /// Replaces the file as a whole.
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name + ".new")) << text;
    fs::rename(file(name + ".new"), file(name));
    return file(name);
  }

 private:
  char path_[32] = "/tmp/orv-prometheus-XXXXXX";
};

std::string promtool(const std::string& arguments) {
  const Outcome outcome = run({"/bin/sh", "-c", kPromtool + " " + arguments});
  return outcome.status == 0 ? "" : outcome.out + outcome.err;
}

// ---- promtool ----

TEST(Promtool, TakesTheMetricsOfTheExampleHost) {
  SKIP_WITHOUT(kPromtool);
  EXPECT_EQ(promtool("check metrics 2>&1 <<END\n" +
                     run({ORV_BINARY_DIR "/bin/orvcim", "--simulate",
                          ORV_SOURCE_DIR "/tests/hosts/example.json", "metrics"})
                         .out +
                     "END"),
            "");
}

TEST(Promtool, TakesTheRules) {
  SKIP_WITHOUT(kPromtool);
  EXPECT_EQ(promtool("check rules " + kPackaging + "/orvane.rules.yml"), "");
}

TEST(Promtool, TakesTheScrapeExample) {
  SKIP_WITHOUT(kPromtool);
  EXPECT_EQ(promtool("check config --syntax-only " + kPackaging + "/prometheus.yml"), "");
}

TEST(Promtool, TheRulesDoWhatTheirTestsSay) {
  SKIP_WITHOUT(kPromtool);
  EXPECT_EQ(promtool("test rules " + kPackaging + "/orvane.rules.test.yml"), "");
}

TEST(Promtool, EveryAlertHasATest) {
  const auto alertsIn = [](const std::string& file, const std::string& before) {
    std::set<std::string> names;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
      const std::size_t at = line.find(before);
      if (at == std::string::npos) continue;
      const std::size_t begin = at + before.size();
      names.insert(line.substr(begin, line.find_first_of(",}", begin) - begin));
    }
    return names;
  };
  const std::set<std::string> alerts = alertsIn(kPackaging + "/orvane.rules.yml", "alert: ");
  ASSERT_GE(alerts.size(), 8u);
  EXPECT_EQ(alerts, alertsIn(kPackaging + "/orvane.rules.test.yml", "alertname: "));
}

// ---- A Prometheus that scrapes ----

/// A host's file with one fan.
std::string hostText(const std::string& name, bool fanFails) {
  const json port = {{"name", "eth0"},
                     {"enabled", true},
                     {"linkUp", true},
                     {"linkSpeed", 10000},
                     {"statistics", {{"bytesRx", 4711}}}};
  const json fan = {{"id", "fan-1"},
                    {"name", "Fan 1"},
                    {"SensorType", 5},
                    {"CurrentReading", fanFails ? 0 : 4200},
                    {"Fault", fanFails}};
  return json({{"systemName", name},
               {"ports", json::array({port})},
               {"hardware", {{"sensors", json::array({fan})}}}})
      .dump();
}

/// Prometheus on the given targets with the package's rules, in a hurry.
class Prometheus {
 public:
  explicit Prometheus(const std::vector<int>& targets) : port_(freePort()) {
    std::string list;
    for (const int target : targets) {
      list += (list.empty() ? "'127.0.0.1:" : ", '127.0.0.1:") + std::to_string(target) + "'";
    }
    const std::string configuration = directory_.write(
        "prometheus.yml",
        "global: {scrape_interval: 500ms, scrape_timeout: 500ms, evaluation_interval: 500ms}\n"
        "rule_files: ['" +
            kPackaging +
            "/orvane.rules.yml']\n"
            "scrape_configs:\n"
            "  - {job_name: orvane, static_configs: [{targets: [" +
            list + "]}]}\n");
    program_ = std::make_unique<Program>(std::vector<std::string>{
        kPrometheus, "--config.file=" + configuration,
        "--storage.tsdb.path=" + directory_.file("data"),
        "--web.listen-address=127.0.0.1:" + std::to_string(port_), "--log.level=error"});
  }
  ~Prometheus() {
    program_->signal(SIGTERM);
    program_->wait();
  }
  Prometheus(const Prometheus&) = delete;
  Prometheus& operator=(const Prometheus&) = delete;

  /// The data of an answer; null while there is none.
  json ask(const std::string& path) const {
    const serve::RawClient client(port_);
    if (!client.connected()) return nullptr;
    client.send("GET /api/v1/" + path + " HTTP/1.0\r\nHost: localhost\r\n\r\n");
    const std::string answer = client.receiveAll();
    const std::size_t body = answer.find("\r\n\r\n");
    const json parsed =
        json::parse(body == std::string::npos ? "" : answer.substr(body + 4), nullptr, false);
    return parsed.is_object() ? parsed.value("data", json()) : json();
  }

  /// Labels of the series that a query finds now, with the value under "".
  json query(const std::string& expression) const {
    json found = json::array();
    const json data = ask("query?query=" + expression);
    if (!data.is_object()) return found;
    for (const json& series : data["result"]) {
      json labels = series["metric"];
      labels[""] = series["value"][1];
      found.push_back(labels);
    }
    return found;
  }

  std::vector<std::string> firing() const {
    std::vector<std::string> names;
    const json data = ask("alerts");
    if (!data.is_object()) return names;
    for (const json& alert : data["alerts"]) {
      if (alert["state"] == "firing") names.push_back(alert["labels"]["alertname"]);
    }
    return names;
  }

 private:
  Directory directory_;
  int port_;
  std::unique_ptr<Program> program_;
};

bool eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < end) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return false;
}

TEST(Prometheus, ScrapesThreeHostsAndFiresWhenAnElementTurns) {
  SKIP_WITHOUT(kPrometheus);
  const Directory files;
  std::vector<std::unique_ptr<RunningService>> hosts;
  std::vector<int> ports;
  for (const char* name : {"host-1", "host-2", "host-3"}) {
    const std::string file = files.write(name, hostText(name, false));
    hosts.push_back(std::make_unique<RunningService>(
        file,
        std::vector<std::string>{"--library", ORV_BINARY_DIR "/lib/hurried/liborvprovider.so",
                                 "--library", ORV_BINARY_DIR "/lib/simulated/liborvhost.so"}));
    ports.push_back(hosts.back()->port());
  }
  const Prometheus prometheus(ports);

  ASSERT_TRUE(eventually([&] { return prometheus.query("up==1").size() == 3; }));
  ASSERT_TRUE(
      eventually([&] { return prometheus.query("orvane_health_rollup_state==5").size() == 3; }));
  const json bytes = prometheus.query("orvane_port_receive_bytes_total");
  ASSERT_EQ(bytes.size(), 3u);
  for (const json& series : bytes) {
    EXPECT_EQ(series["device"], "eth0");
    EXPECT_EQ(series[""], "4711");
  }
  EXPECT_EQ(prometheus.query("orvane_port_speed_bytes_per_second==1.25e9").size(), 3u);
  EXPECT_TRUE(eventually(
      [&] { return prometheus.query("orvane_heartbeat_timestamp_seconds").size() == 3; }));
  EXPECT_THAT(prometheus.firing(), IsEmpty());

  files.write("host-2", hostText("host-2", true));
  EXPECT_TRUE(eventually([&] { return !prometheus.firing().empty(); }));
  EXPECT_THAT(prometheus.firing(), Contains("OrvaneLatchedHealth"));
  const json records = prometheus.query("orvane_latched_health_state");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0]["instance"], "127.0.0.1:" + std::to_string(ports[1]));
  EXPECT_EQ(records[0]["element"], "fan-1");
  EXPECT_EQ(records[0]["class"], "Orvane_NumericSensor");
}

}  // namespace
}  // namespace orv::test
