#include "web/events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/web/web_fixture.h"

namespace orv::web {
namespace {

using serve::RawClient;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;

/// A client that has begun to listen.
std::unique_ptr<RawClient> listener(const ServedWeb& served) {
  auto client = std::make_unique<RawClient>(served.port());
  client->send(getText("/api/events"));
  EXPECT_TRUE(client->receiveUntil("retry: 3000\n\n"));
  return client;
}

/// The data of the event that a text ends with.
nlohmann::ordered_json dataIn(const std::string& text) {
  const std::size_t begin = text.rfind("data: ") + 6;
  return nlohmann::ordered_json::parse(text.substr(begin, text.find('\n', begin) - begin), nullptr,
                                       false);
}

TEST(Events, AnIndicationReachesEveryListener) {
  ServedWeb served;
  const auto first = listener(served);
  const auto second = listener(served);
  test::deliverAlert(served.broker(), 7, "line\nbreak");
  for (const auto* client : {first.get(), second.get()}) {
    std::string text;
    ASSERT_TRUE(client->receiveUntil("}\n\n", &text)) << text;
    EXPECT_THAT(text, testing::ContainsRegex("id: [0-9]+-1\nevent: indication\ndata: "));
    const auto data = dataIn(text);
    ASSERT_TRUE(data.is_object()) << text;
    EXPECT_EQ(data["class"], "T_Alert");
    EXPECT_EQ(data["properties"]["number"], 7);
    EXPECT_EQ(data["properties"]["text"], "line\nbreak");
    EXPECT_EQ(data["received"].get<std::string>().size(), sizeof "2026-01-02T03:04:05Z" - 1);
  }
}

TEST(Events, TheHeadSaysWhatComes) {
  ServedWeb served;
  const RawClient client(served.port());
  client.send(getText("/api/events"));
  std::string head;
  ASSERT_TRUE(client.receiveUntil("\r\n\r\n", &head));
  EXPECT_THAT(head, testing::StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(head, HasSubstr("Content-Type: text/event-stream\r\n"));
  EXPECT_THAT(head, HasSubstr("Cache-Control: no-store\r\n"));
  EXPECT_THAT(head, HasSubstr("Cross-Origin-Resource-Policy: same-origin\r\n"));
  EXPECT_THAT(head, HasSubstr("Connection: close\r\n"));  // nothing follows a stream
  EXPECT_EQ(served.get("/api/events?x=1").status, 400);
}

TEST(Events, WhoComesLaterIsToldOfTheLastOnes) {
  Events::Limits limits;
  limits.kept = 2;
  ServedWeb served({"T_Alert"}, {}, limits);
  const auto first = listener(served);
  for (unsigned i = 1; i <= 3; ++i) test::deliverAlert(served.broker(), i);
  const RawClient client(served.port());
  client.send(getText("/api/events"));
  std::string text;
  ASSERT_TRUE(client.receiveUntil("\"number\":3", &text)) << text;
  EXPECT_THAT(text, HasSubstr("\"number\":2"));
  EXPECT_THAT(text, Not(HasSubstr("\"number\":1")));
}

// The first subscriber is sent a heartbeat: it is for those who wait for one.
TEST(Events, NobodySubscribesBeforeSomebodyListens) {
  ServedWeb served;
  const int before = test::alertCalls().activated;
  EXPECT_EQ(served.get("/api/names/Orvane_Processor").status, 200);
  EXPECT_EQ(test::alertCalls().activated, before);
  const auto first = listener(served);
  test::deliverAlert(served.broker(), 1);
  EXPECT_TRUE(first->receiveUntil("\"number\":1"));
  EXPECT_EQ(test::alertCalls().activated, before + 1);
  const auto second = listener(served);
  EXPECT_EQ(test::alertCalls().activated, before + 1);
}

TEST(Events, ARefusedClassIsTriedAgainForTheNextListener) {
  test::refuseAlertFilters("not yet");
  ServedWeb served;
  testing::internal::CaptureStderr();
  const auto first = listener(served);
  const auto second = listener(served);
  test::refuseAlertFilters("");
  const auto third = listener(served);
  test::deliverAlert(served.broker(), 7);
  EXPECT_TRUE(third->receiveUntil("\"number\":7"));
  const std::string logged = testing::internal::GetCapturedStderr();
  EXPECT_THAT(logged, HasSubstr("/api/events leaves out T_Alert: not yet"));
  EXPECT_EQ(logged.find("leaves out"), logged.rfind("leaves out")) << "once: " << logged;
}

TEST(Events, AHeartbeatOfTheSimulatedHostArrives) {
  if (!test::isFirstToWaitForABeat()) GTEST_SKIP() << "the process's first beat was waited for";
  ServedWeb served({"Orvane_CIMHeartbeat"});
  const RawClient client(served.port());
  client.send(getText("/api/events"));
  std::string text;
  ASSERT_TRUE(client.receiveUntil("}\n\n", &text)) << text;
  EXPECT_EQ(dataIn(text)["class"], "Orvane_CIMHeartbeat") << text;
}

TEST(Events, ListenersAreBounded) {
  Events::Limits limits;
  limits.listeners = 2;
  ServedWeb served({"T_Alert"}, {}, limits);
  auto first = listener(served);
  const auto second = listener(served);
  const GetReply reply = served.get("/api/events");
  EXPECT_EQ(reply.status, 503);
  EXPECT_THAT(reply.head, HasSubstr("Retry-After: 30\r\n"));
  EXPECT_THAT(reply.json()["text"].get<std::string>(), HasSubstr("too many clients"));
}

TEST(Events, ALostListenerMakesRoom) {
  serve::HttpLimits http;
  http.beatTime = milliseconds(50);
  Events::Limits limits;
  limits.listeners = 1;
  ServedWeb served({"T_Alert"}, http, limits);
  listener(served).reset();
  // A beat cannot be sent, and the place is free.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  bool listens = false;
  while (!listens && std::chrono::steady_clock::now() < end) {
    const RawClient client(served.port());
    client.send(getText("/api/events"));
    std::string head;
    client.receiveUntil("\r\n\r\n", &head);
    listens = head.rfind("HTTP/1.1 200", 0) == 0;
  }
  EXPECT_TRUE(listens);
}

TEST(Events, AnIdleListenerHearsBeats) {
  serve::HttpLimits http;
  http.beatTime = milliseconds(20);
  const ServedWeb served({"T_Alert"}, http);
  const auto client = listener(served);
  std::string text;
  for (int i = 0; i < 3; ++i) {
    text.clear();
    ASSERT_TRUE(client->receiveUntil(": the service is there\n\n", &text));
  }
}

TEST(Events, ListenersCostNoWorker) {
  serve::HttpLimits http;
  http.workers = 1;
  const ServedWeb served({"T_Alert"}, http);
  std::vector<std::unique_ptr<RawClient>> clients;
  for (int i = 0; i < 8; ++i) clients.push_back(listener(served));
  EXPECT_EQ(served.get("/api/names/Orvane_EthernetPort").status, 200);
}

TEST(Events, AListenerThatReadsNothingIsDroppedAndHarmsNobody) {
  serve::HttpLimits http;
  http.beatTime = milliseconds(100);
  Events::Limits limits;
  limits.listenerBytes = 64U << 10;
  ServedWeb served({"T_Alert"}, http, limits);
  const auto deaf = listener(served);
  const auto good = listener(served);
  // More than the sockets' buffers hold; each text is much smaller than the limit.
  const std::string text(16U << 10, 'x');
  for (unsigned i = 0; i < 1000; ++i) {
    test::deliverAlert(served.broker(), i, text);
    std::string received;
    ASSERT_TRUE(good->receiveUntil("}\n\n", &received)) << i;
  }
  EXPECT_THAT(deaf->receiveAll(), Not(HasSubstr("<no end>")));
}

TEST(Events, TheEndOfTheServiceEndsTheStreams) {
  ServedWeb served;
  const auto client = listener(served);
  const auto before = std::chrono::steady_clock::now();
  served.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
  EXPECT_THAT(client->receiveAll(), Not(HasSubstr("<no end>")));
}

TEST(Events, IndicationsAndClientsAtOnce) {
  Events::Limits limits;
  limits.listeners = 1000;  // those that left may not have been noticed
  ServedWeb served({"T_Alert"}, {}, limits);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 20; ++j) listener(served).reset();
    });
  }
  for (unsigned i = 0; i < 200; ++i) test::deliverAlert(served.broker(), i);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(served.get("/api/names/Orvane_EthernetPort").status, 200);
}

}  // namespace
}  // namespace orv::web
