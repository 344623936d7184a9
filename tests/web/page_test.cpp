// The page of a host in a real browser, on the service with a simulated host whose file changes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tool/program.h"
#include "tests/web/browser.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kSchema = ORV_SOURCE_DIR "/schema";
const std::string kExample = ORV_SOURCE_DIR "/tests/hosts/example.json";

class Page : public testing::Test {
 protected:
  void SetUp() override {
    const std::string missing = Browser::missing();
    if (!missing.empty()) GTEST_SKIP() << "skipped: no browser: " << missing;
    if (mkdtemp(directory_) == nullptr) std::abort();
    std::ifstream in(kExample);
    host_ = Json::parse(in);
    writeHost();
    startService("0");
    browser_ = std::make_unique<Browser>();
    browser_->command("Network.enable", Json::object());
  }
  void TearDown() override {
    browser_.reset();
    service_.reset();
    if (!url_.empty()) fs::remove_all(directory_);
  }

  void startService(const std::string& port) {
    service_ = std::make_unique<Program>(
        std::vector<std::string>{ORV_BINARY_DIR "/bin/orvcimd", "--schema", kSchema, "--simulate",
                                 file(), "--listen", "127.0.0.1:" + port});
    ASSERT_TRUE(service_->waitForOutput("orvcimd: serving ")) << service_->wait().err;
    const std::string& said = service_->output();
    const std::size_t begin = said.find("http://");
    url_ = said.substr(begin, said.find('\n', begin) - begin);
  }
  std::string port() const { return url_.substr(url_.rfind(':') + 1); }

  std::string file() const { return std::string(directory_) + "/host.json"; }
  /// Put into place as a whole, since it is being served.
  void writeHost() {
    std::ofstream(file() + ".new") << host_.dump();
    fs::rename(file() + ".new", file());
  }
  /// More traffic than before.
  void count(std::uint64_t step) {
    Json& counters = host_["ports"][0]["statistics"];
    const std::pair<const char*, std::uint64_t> steps[] = {
        {"bytesRx", 1'000'000}, {"bytesTx", 400'000}, {"packetsRx", 900},
        {"packetsTx", 500},     {"errorsRx", 20},     {"errorsTx", 10}};
    for (const auto& [name, by] : steps) counters[name] = counters.value(name, 0ULL) + by * step;
    writeHost();
  }

  /// JavaScript: the text of the first element that a selector finds.
  static std::string textIs(const std::string& selector, const std::string& text) {
    return "return (document.querySelector('" + selector + "')?.textContent ?? '').includes('" +
           text + "')";
  }

  char directory_[32] = "/tmp/orv-page-XXXXXX";
  Json host_;
  std::string url_;
  std::unique_ptr<Program> service_;
  std::unique_ptr<Browser> browser_;
};

/// Pixels of a plot that have the colour of one of its lines.
const char* const kLinePixels = R"(
  const canvas = document.querySelector('[data-port="nic0"] [data-plot="traffic"]');
  const context = canvas.getContext('2d');
  const probe = document.createElement('canvas').getContext('2d');
  probe.fillStyle = getComputedStyle(document.documentElement).getPropertyValue('--receive').trim();
  probe.fillRect(0, 0, 1, 1);
  const wanted = probe.getImageData(0, 0, 1, 1).data;
  const pixels = context.getImageData(0, 0, canvas.width, canvas.height).data;
  let found = 0;
  for (let i = 0; i < pixels.length; i += 4) {
    if (pixels[i + 3] > 200 && Math.abs(pixels[i] - wanted[0]) < 16 &&
        Math.abs(pixels[i + 1] - wanted[1]) < 16 && Math.abs(pixels[i + 2] - wanted[2]) < 16) {
      ++found;
    }
  }
  return found;)";

TEST_F(Page, ShowsTheHostAndFollowsItsChanges) {
  browser_->open(url_ + "/");
  ASSERT_TRUE(browser_->waitUntil(textIs("[data-port=\"nic0\"] .badge", "Link up")));
  EXPECT_EQ(browser_->run("return document.title"), "host-7");
  EXPECT_EQ(browser_->run("return document.querySelector('[data-port=\"nic0\"] h3').textContent"),
            "nic0");
  EXPECT_EQ(browser_->run(textIs("[data-port=\"nic0\"] .speed", "10 Gbit/s")), true);
  EXPECT_EQ(browser_->run(textIs("[data-port=\"nic1\"] .badge", "Not known")), true);
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-list=\"addresses\"]", "10.0.0.7")));
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-list=\"processors\"]", "Example CPU @ 2.60GHz")));
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-list=\"images\"]", "Orvane Ondi")));
  EXPECT_TRUE(browser_->waitUntil(textIs("#rollup", "Unknown")));
  EXPECT_TRUE(browser_->waitUntil(textIs("#event-list", "Heartbeat of")));
  EXPECT_TRUE(browser_->waitUntil(textIs("#connection", "Live")));
  browser_->run("window.notReloaded = true");

  host_["ports"][0]["linkUp"] = false;
  writeHost();
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-port=\"nic0\"] .badge", "No link")));
  EXPECT_TRUE(browser_->waitUntil(textIs("#port-changes", "Port nic0: No link")));  // for the ear
  EXPECT_EQ(browser_->run("return window.notReloaded"), true);

  const std::vector<std::string> requests = browser_->requests();
  EXPECT_THAT(requests, testing::Contains(HasSubstr("/api/instances/Orvane_EthernetPort")));
  for (const std::string& request : requests) {
    EXPECT_EQ(request.rfind(url_ + "/", 0), 0U) << request;
  }
  EXPECT_THAT(browser_->consoleErrors(), IsEmpty());
}

TEST_F(Page, DrawsTraffic) {
  browser_->open(url_ + "/");
  ASSERT_TRUE(browser_->waitUntil(textIs("[data-port=\"nic0\"] .badge", "Link up")));
  if (browser_->run("return typeof Chart === 'undefined'") == true) {
    GTEST_SKIP() << "skipped: libjs-chart.js is not installed";
  }
  EXPECT_EQ(browser_->run(kLinePixels), 0);
  const auto drawn = [&] { return browser_->run(kLinePixels).get<int>() > 2; };
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (std::uint64_t step = 1; !drawn() && std::chrono::steady_clock::now() < end; ++step) {
    count(step);
    browser_->waitUntil("return false", 1);
  }
  EXPECT_TRUE(drawn());
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-now=\"traffic\"]", "bit/s")));
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-now=\"traffic\"]", "packets/s")));
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-now=\"errors\"]", "errors/s")));
  EXPECT_THAT(browser_->consoleErrors(), IsEmpty());
}

TEST_F(Page, TellsThatTheConnectionIsLostAndRecovers) {
  browser_->open(url_ + "/");
  ASSERT_TRUE(browser_->waitUntil(textIs("#connection", "Live")));
  const std::string before = port();
  service_->signal(SIGTERM);
  EXPECT_EQ(service_->wait().status, 0);
  EXPECT_TRUE(browser_->waitUntil(textIs("#connection", "Connection lost")));
  EXPECT_EQ(browser_->run(textIs("[data-port=\"nic0\"] h3", "nic0")),
            true);  // what was known stays
  startService(before);
  EXPECT_TRUE(browser_->waitUntil(textIs("#connection", "Live")));
}

TEST_F(Page, WithoutChartsItSaysSo) {
  browser_->command("Network.setBlockedURLs", {{"urls", {"*/chart.js"}}});
  browser_->open(url_ + "/");
  ASSERT_TRUE(browser_->waitUntil(textIs("[data-port=\"nic0\"] .badge", "Link up")));
  EXPECT_EQ(browser_->run("return document.getElementById('plots-missing').hidden"), false);
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-list=\"addresses\"]", "10.0.0.7")));
}

TEST_F(Page, AnEmptyHostReadsWell) {
  host_ = Json::object();
  writeHost();
  browser_->open(url_ + "/");
  EXPECT_TRUE(browser_->waitUntil(textIs("#port-list", "no physical Ethernet port")));
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-list=\"addresses\"]", "No kernel interface")));
  EXPECT_TRUE(browser_->waitUntil(textIs("[data-list=\"records\"]", "No element has been seen")));
  EXPECT_THAT(browser_->consoleErrors(), IsEmpty());
}

TEST_F(Page, FitsATelephone) {
  browser_->command("Emulation.setDeviceMetricsOverride",
                    {{"width", 360}, {"height", 740}, {"deviceScaleFactor", 2}, {"mobile", true}});
  browser_->open(url_ + "/");
  ASSERT_TRUE(browser_->waitUntil(textIs("[data-list=\"addresses\"]", "10.0.0.7")));
  EXPECT_EQ(browser_->run("return document.documentElement.scrollWidth"), 360);
}

}  // namespace
}  // namespace orv::test
