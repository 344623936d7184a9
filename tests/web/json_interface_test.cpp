#include "web/json_interface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "notation/json.h"
#include "tests/web/web_fixture.h"

namespace orv::web {
namespace {

using Json = nlohmann::ordered_json;
using testing::HasSubstr;

std::string encoded(const std::string& text) {
  std::string all;
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    all += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return all;
}

class JsonInterface : public testing::Test {
 protected:
  void expectError(const std::string& target, int status, const std::string& text,
                   int cimStatus = 0) {
    const GetReply reply = served_.get(target);
    EXPECT_EQ(reply.status, status) << target << reply.body;
    const Json error = reply.json();
    ASSERT_TRUE(error.is_object()) << target << reply.body;
    EXPECT_EQ(error["status"], status) << target;
    EXPECT_THAT(error["text"].get<std::string>(), HasSubstr(text)) << target;
    EXPECT_EQ(error.value("cimStatus", 0), cimStatus) << target;
    EXPECT_THAT(reply.head, HasSubstr("Content-Type: application/json\r\n")) << target;
  }

  ServedWeb served_;
};

TEST_F(JsonInterface, InstancesHaveTheFormOfTheTool) {
  const GetReply reply = served_.get("/api/instances/Orvane_EthernetPort");
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.head, HasSubstr("Content-Type: application/json\r\n"));
  EXPECT_THAT(reply.head, HasSubstr("Cache-Control: no-store\r\n"));
  const broker::Response expected =
      served_.broker().enumerateInstances("root/cimv2", "Orvane_EthernetPort");
  Json array = Json::array();
  for (const broker::Instance& one : expected.instances) {
    array.push_back(notation::toJson(one, *test::servedClasses(), false));
  }
  ASSERT_EQ(array.size(), 2U);
  EXPECT_EQ(reply.json(), array);
}

TEST_F(JsonInterface, PropertiesCanBeChosen) {
  const Json json =
      served_.get("/api/instances/orvane_ethernetport?property=DeviceID&property=speed").json();
  ASSERT_EQ(json.size(), 2U);
  EXPECT_EQ(json[0]["properties"], Json::parse(R"({"DeviceID":"nic0","Speed":10000000000})"));
  expectError("/api/instances/Orvane_EthernetPort?property=Sped", 400,
              "Orvane_EthernetPort has no property \"Sped\"");
}

TEST_F(JsonInterface, NamesArePaths) {
  const Json json = served_.get("/api/names/Orvane_EthernetPort").json();
  ASSERT_EQ(json.size(), 2U);
  EXPECT_EQ(json[1]["keys"]["DeviceID"], "nic1");
  EXPECT_EQ(json[1]["namespace"], "root/cimv2");
}

TEST_F(JsonInterface, AnEmptyAnswerIsAnEmptyArray) {
  EXPECT_EQ(served_.get("/api/names/Orvane_LatchedHealthState").body, "[]\n");
}

TEST_F(JsonInterface, APathOfAnAnswerGetsItsInstance) {
  const Json all = served_.get("/api/instances/Orvane_EthernetPort").json();
  const std::string path = encoded(all[0]["path"].get<std::string>());
  EXPECT_EQ(served_.get("/api/get?path=" + path).json(), all[0]);
  EXPECT_EQ(served_.get("/api/get?property=Speed&path=" + path).json()["properties"],
            Json::parse(R"({"Speed":10000000000})"));
}

TEST_F(JsonInterface, AssociatedInstancesAreToldWithTheirAssociation) {
  const Json all = served_.get("/api/instances/Orvane_EthernetPort").json();
  const std::string target = "/api/associators?path=" + encoded(all[0]["path"].get<std::string>());
  const Json found = served_.get(target + "&association=Orvane_EPStatistics").json();
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]["class"], "Orvane_EPStatisticalInformation");
  EXPECT_GT(served_.get(target).json().size(), 1U);
}

TEST_F(JsonInterface, ErrorsAreJsonWithStatusAndText) {
  expectError("/api/instances/No_Such", 404, "lass", 5);
  expectError("/api/names/No_Such", 404, "lass", 5);
  expectError("/api/instances/", 404, "a class is missing");
  expectError("/api/instances/A/B", 404, "a class is missing");
  expectError("/api/names/", 404, "a class is missing");
  expectError("/api/", 404, "/api/instances/CLASS");
  expectError("/api/other", 404, "/api/instances/CLASS");
  expectError("/api", 404, "nothing here");
  expectError("/api/get", 400, "\"path\" is missing");
  expectError("/api/get?path=", 400, "column 1");
  expectError("/api/get?path=X.A=", 400, "column");
  expectError("/api/get?path=" + encoded("Orvane_EthernetPort.DeviceID=\"nic9\""), 404, "", 6);
  expectError("/api/get?path=" + encoded("other:Orvane_EthernetPort.DeviceID=\"nic0\""), 404, "",
              3);
  expectError("/api/names/Orvane_EthernetPort?namespace=x", 400,
              "the parameter \"namespace\" is not known");
}

TEST_F(JsonInterface, PathsThatLeadElsewhereLeadNowhere) {
  for (const char* target :
       {"/api/../../etc/passwd", "/api/instances/../../../etc/passwd", "/..%2f..%2fetc/passwd",
        "/api/instances/..%2f..%2fetc%2fpasswd", "/page.css/../../../../etc/passwd"}) {
    const GetReply reply = served_.get(target);
    EXPECT_EQ(reply.status, 404) << target;
    EXPECT_THAT(reply.body, testing::Not(HasSubstr("root:"))) << target;
  }
}

TEST(JsonInterfaceLimits, ALargeAnswerIsAnError) {
  const ServedWeb served({}, {}, {}, 500);
  const GetReply reply = served.get("/api/instances/Orvane_EthernetPort");
  EXPECT_EQ(reply.status, 500);
  EXPECT_THAT(reply.json()["text"].get<std::string>(), HasSubstr("larger than 500 bytes"));
  EXPECT_EQ(served.get("/api/instances/Orvane_RollupHealthState").status, 200);
}

}  // namespace
}  // namespace orv::web
