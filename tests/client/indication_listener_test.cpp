#include "client/indication_listener.h"

#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "cimxml/export_message.h"
#include "client/http_transport.h"
#include "tests/serve/raw_client.h"

namespace orv::client {
namespace {

using testing::HasSubstr;

broker::Instance alert() {
  broker::Instance instance;
  instance.path.className = "T_Alert";
  instance.properties = {{"number", broker::Value::ofUnsigned(CMPI_uint32, 7)}};
  return instance;
}

struct Posted {
  long status = 0;
  std::string body;
};

std::size_t append(char* data, std::size_t size, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

Posted post(const std::string& url, const std::string& body) {
  Posted posted;
  CURL* easy = curl_easy_init();
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_PROXY, "");
  curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &append);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &posted.body);
  curl_easy_perform(easy);
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &posted.status);
  curl_easy_cleanup(easy);
  return posted;
}

class IndicationListenerTest : public testing::Test {
 protected:
  std::string add() {
    return listener_.add([this](const broker::Instance& one) { taken_.push_back(one); });
  }

  std::vector<broker::Instance> taken_;
  IndicationListener listener_{"127.0.0.1", 0};
};

TEST_F(IndicationListenerTest, TakesWhatIsSentToItsUrl) {
  const Posted posted = post(add(), cimxml::exportMessage(alert(), "42"));
  EXPECT_EQ(posted.status, 200);
  EXPECT_THAT(posted.body, HasSubstr("<MESSAGE ID=\"42\""));
  ASSERT_EQ(taken_.size(), 1U);
  EXPECT_EQ(taken_[0].property("number")->number(), 7U);
}

TEST_F(IndicationListenerTest, RefusesEverythingElse) {
  const std::string url = add();
  const std::string message = cimxml::exportMessage(alert(), "1");
  EXPECT_EQ(post(url.substr(0, url.rfind('/') + 1), message).status, 404);
  EXPECT_EQ(post(url + "x", message).status, 404);
  EXPECT_EQ(post(url, "<html/>").status, 400);
  EXPECT_EQ(post(url, "").status, 400);
  EXPECT_EQ(post(url, std::string(2U << 20, 'x')).status, 413);
  listener_.remove(url);
  EXPECT_EQ(post(url, message).status, 404);
  EXPECT_TRUE(taken_.empty());
}

TEST_F(IndicationListenerTest, AFailingHandlerIsAFailureForTheSender) {
  const std::string url =
      listener_.add([](const broker::Instance&) { throw std::runtime_error("full"); });
  EXPECT_EQ(post(url, cimxml::exportMessage(alert(), "1")).status, 500);
}

TEST(IndicationListener, UrlsCannotBeGuessed) {
  IndicationListener listener("127.0.0.1", 0);
  const std::string first = listener.add([](const broker::Instance&) {});
  const std::string second = listener.add([](const broker::Instance&) {});
  EXPECT_NE(first, second);
  EXPECT_GE(first.size() - first.rfind('/'), 33U);
}

// libmicrohttpd 0.9.75 crashes on a request that it refuses itself while it stops.
TEST(IndicationListener, AnEndAmongBadRequestsHarmsNothing) {
  const std::string tooLong = "POST / HTTP/1.1\r\nX: " + std::string(40000, 'x');
  for (int round = 0; round < 30; ++round) {
    auto listener = std::make_unique<IndicationListener>("127.0.0.1", 0);
    const std::string url = listener->add([](const broker::Instance&) {});
    const int port = std::stoi(url.substr(url.find(':', 6) + 1));
    std::vector<std::unique_ptr<serve::RawClient>> clients;
    for (int i = 0; i < 60; ++i) clients.push_back(std::make_unique<serve::RawClient>(port));
    std::thread sender([&] {
      for (const auto& client : clients) client->send(tooLong);
    });
    clients.front()->receiveUntil("HTTP/1.1 ");  // the others' turn comes now
    listener.reset();
    sender.join();
  }
}

TEST(IndicationListener, AnAddressThatIsNotOursIsTold) {
  EXPECT_THROW(IndicationListener("192.0.2.1", 0), ConnectionError);
  EXPECT_THROW(IndicationListener("host7", 0), ConnectionError);
  EXPECT_THROW(IndicationListener("", 0), ConnectionError);
}

}  // namespace
}  // namespace orv::client
