#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/raw_client.h"
#include "tests/serve/test_alerts.h"
#include "web/events.h"
#include "web/json_interface.h"

namespace orv::web {

struct GetReply {
  int status = 0;
  std::string head;
  std::string body;
  nlohmann::ordered_json json() const {
    return nlohmann::ordered_json::parse(body, nullptr, /*allow_exceptions=*/false);
  }
};

inline std::string getText(const std::string& target, const std::string& headers = "") {
  return "GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n";
}

/// The service with JSON and events on the simulated example host and the test's alerts.
class ServedWeb {
 public:
  explicit ServedWeb(std::vector<std::string> eventClasses = {"T_Alert"},
                     const serve::HttpLimits& http = {}, Events::Limits events = {},
                     std::size_t answerBytes = 32U << 20) {
    serve::Endpoint::Settings settings;
    settings.http.limits = http;
    served_ = std::make_unique<test::ServedLibrary>(
        settings, "", [&](broker::TestBroker& broker, serve::Endpoint::Settings& more) {
          const Host host{broker, test::servedClasses()};
          events_ = std::make_unique<Events>(host, eventClasses, events);
          more.routes = jsonRoutes(host, answerBytes);
          more.routes.push_back(events_->route());
        });
  }
  ~ServedWeb() {
    served_->stopEndpoint();
    events_.reset();
  }
  ServedWeb(const ServedWeb&) = delete;
  ServedWeb& operator=(const ServedWeb&) = delete;

  int port() const { return served_->port(); }
  broker::TestBroker& broker() { return served_->broker(); }
  void stop() { served_->stopEndpoint(); }

  GetReply get(const std::string& target) const {
    const serve::RawClient client(port());
    client.send(getText(target, "Connection: close\r\n"));
    const std::string all = client.receiveAll();
    const std::size_t end = all.find("\r\n\r\n");
    GetReply reply;
    if (all.size() > 12 && end != std::string::npos) {
      reply.status = std::stoi(all.substr(9, 3));
      reply.head = all.substr(0, end + 2);
      reply.body = all.substr(end + 4);
    }
    return reply;
  }

 private:
  std::unique_ptr<test::ServedLibrary> served_;
  std::unique_ptr<Events> events_;
};

}  // namespace orv::web
