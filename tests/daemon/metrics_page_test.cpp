// GET /metrics of the service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "tests/daemon/running_service.h"

namespace orv::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string kExampleHost = ORV_SOURCE_DIR "/tests/hosts/example.json";

TEST(MetricsPage, AnswersWhatTheToolPrints) {
  const RunningService service(kExampleHost);
  const std::string answer = service.get("/metrics");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nCache-Control: no-store\r\n"));
  EXPECT_THAT(answer,
              HasSubstr("\norvane_port_transmit_packets_total{device=\"nic0\"} 6442450944\n"));
  EXPECT_THAT(answer, HasSubstr("\norvane_class_success{class=\"Orvane_Processor\"} 1\n"));
}

TEST(MetricsPage, TellsTheTimeOfTheLastHeartbeat) {
  const RunningService service(kExampleHost);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  std::string answer = service.get("/metrics");
  while (answer.find("orvane_heartbeat_timestamp_seconds ") == std::string::npos &&
         std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    answer = service.get("/metrics");
  }
  const std::string name = "\norvane_heartbeat_timestamp_seconds ";
  const std::size_t at = answer.find(name);
  ASSERT_NE(at, std::string::npos) << answer;
  const double now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  EXPECT_NEAR(std::strtod(answer.c_str() + at + name.size(), nullptr), now, 60);
}

TEST(MetricsPage, IsUnderTheRulesOfAllRequests) {
  const RunningService service(kExampleHost);
  EXPECT_THAT(service.get("/metrics", "Host: other.example\r\n"), StartsWith("HTTP/1.1 421"));
  EXPECT_THAT(service.get("/metrics", "Host: localhost\r\nOrigin: http://other.example\r\n"),
              StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(service.get("/metrics/other"), StartsWith("HTTP/1.1 404"));
}

}  // namespace
}  // namespace orv::test
