#include "client/remote_client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/client/scripted_server.h"

namespace orv::client {
namespace {

using broker::Operation;
using broker::Request;
using broker::Response;
using broker::Value;
using test::cimAnswer;
using test::httpAnswer;
using test::ScriptedServer;
using testing::HasSubstr;
using testing::Not;

RemoteSettings settingsFor(const std::string& url) {
  RemoteSettings settings;
  settings.transport.url = parseServerUrl(url);
  settings.transport.timeout = std::chrono::seconds(20);
  return settings;
}

Request enumeration() {
  Request request;
  request.operation = Operation::kEnumerateInstances;
  request.path.nameSpace = "root/cimv2";
  request.path.className = "T_Port";
  return request;
}

/// What is told when there is no answer.
std::string failure(const RemoteSettings& settings) {
  try {
    RemoteClient client(settings);
    client.request(enumeration());
    return "answered";
  } catch (const ConnectionError& error) {
    return error.what();
  }
}

std::string failureOf(const std::string& answer) {
  const ScriptedServer server([&](const std::string&) { return answer; });
  return failure(settingsFor(server.url()));
}

// ---- What is asked ----

TEST(RemoteClient, AsksAsTheStandardsHaveIt) {
  const ScriptedServer server(
      [](const std::string&) { return cimAnswer("<IRETURNVALUE></IRETURNVALUE>"); });
  RemoteClient client(settingsFor(server.url()));
  EXPECT_TRUE(client.request(enumeration()).ok());
  ASSERT_EQ(server.requests().size(), 1U);
  const std::string request = server.requests()[0];
  EXPECT_THAT(request, HasSubstr("POST /cimom HTTP/1.1\r\n"));
  EXPECT_THAT(request, HasSubstr("\r\nCIMOperation: MethodCall\r\n"));
  EXPECT_THAT(request, HasSubstr("\r\nCIMMethod: EnumerateInstances\r\n"));
  EXPECT_THAT(request, HasSubstr("\r\nCIMObject: root%2Fcimv2\r\n"));
  EXPECT_THAT(request, HasSubstr("<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE>"));
  EXPECT_THAT(request, Not(HasSubstr("Authorization")));
}

TEST(RemoteClient, SendsTheLoginAtOnce) {
  const ScriptedServer server(
      [](const std::string&) { return cimAnswer("<IRETURNVALUE></IRETURNVALUE>"); });
  RemoteSettings settings = settingsFor(server.url());
  settings.transport.login = Login{"user", "pass"};
  RemoteClient(settings).request(enumeration());
  EXPECT_THAT(server.requests().at(0), HasSubstr("Authorization: Basic dXNlcjpwYXNz\r\n"));
}

TEST(RemoteClient, ANamespaceCannotAddHeaders) {
  const ScriptedServer server(
      [](const std::string&) { return cimAnswer("<IRETURNVALUE></IRETURNVALUE>"); });
  RemoteClient client(settingsFor(server.url()));
  Request request = enumeration();
  request.path.nameSpace = "root\r\nX-Evil: 1";
  client.request(request);
  EXPECT_THAT(server.requests().at(0), Not(HasSubstr("\r\nX-Evil")));
}

// ---- What comes back ----

TEST(RemoteClient, PathsAreThoseOfTheHostItself) {
  const ScriptedServer server([](const std::string&) {
    return cimAnswer(
        "<IRETURNVALUE><OBJECTPATH><INSTANCEPATH><NAMESPACEPATH><HOST>far</HOST>"
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"x\"/></LOCALNAMESPACEPATH>"
        "</NAMESPACEPATH><INSTANCENAME CLASSNAME=\"A\"/></INSTANCEPATH></OBJECTPATH>"
        "<INSTANCENAME CLASSNAME=\"B\"/></IRETURNVALUE>");
  });
  const Response response = RemoteClient(settingsFor(server.url())).request(enumeration());
  ASSERT_EQ(response.paths.size(), 2U);
  EXPECT_EQ(response.paths[0].toText(), "root/x:A");
  EXPECT_EQ(response.paths[1].toText(), "root/cimv2:B");
}

TEST(RemoteClient, AStatusIsAnAnswer) {
  const ScriptedServer server([](const std::string&) {
    return cimAnswer("<ERROR CODE=\"3\" DESCRIPTION=\"no such namespace\"/>");
  });
  const Response response = RemoteClient(settingsFor(server.url())).request(enumeration());
  EXPECT_EQ(response.rc, CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(response.message, "no such namespace");
}

TEST(RemoteClient, AnInstanceIsNamedByTheKeysOfItsClass) {
  const ScriptedServer server([](const std::string& request) {
    if (request.find("GetClass") != std::string::npos) {
      return cimAnswer(
          "<IRETURNVALUE><CLASS NAME=\"T_Port\">"
          "<PROPERTY NAME=\"Id\" TYPE=\"string\"><QUALIFIER NAME=\"Key\" TYPE=\"boolean\">"
          "<VALUE>TRUE</VALUE></QUALIFIER></PROPERTY>"
          "<PROPERTY NAME=\"Speed\" TYPE=\"uint64\"></PROPERTY></CLASS></IRETURNVALUE>");
    }
    return cimAnswer(
        "<IRETURNVALUE><INSTANCE CLASSNAME=\"T_Port\"><PROPERTY NAME=\"Speed\" TYPE=\"uint64\">"
        "<VALUE>5</VALUE></PROPERTY><PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>nic0</VALUE>"
        "</PROPERTY></INSTANCE></IRETURNVALUE>");
  });
  RemoteClient client(settingsFor(server.url()));
  Request request = enumeration();
  request.operation = Operation::kGetInstance;
  request.path.keys = {{"ID", Value::ofString("nic0")}};
  request.properties = {"Speed"};
  const Response response = client.request(request);
  ASSERT_EQ(response.instances.size(), 1U);
  EXPECT_EQ(response.instances[0].path.toText(), "root/cimv2:T_Port.Id=\"nic0\"");
  client.request(request);
  std::size_t askedForClass = 0;
  for (const std::string& one : server.requests()) {
    askedForClass += one.find("GetClass") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(askedForClass, 1U);
}

TEST(RemoteClient, AClassThatTheServerDoesNotTellIsUnknown) {
  const ScriptedServer server(
      [](const std::string&) { return cimAnswer("<ERROR CODE=\"6\" DESCRIPTION=\"none\"/>"); });
  RemoteClient client(settingsFor(server.url()));
  EXPECT_EQ(client.classes("root/cimv2").find("T_None"), nullptr);
}

// ---- What is not an answer ----

TEST(RemoteClient, AnotherServerIsToldFromACimServer) {
  EXPECT_THAT(failureOf(httpAnswer(200, "text/html", "<html>Welcome</html>")),
              HasSubstr("text/html"));
  EXPECT_THAT(failureOf(httpAnswer(200, "text/xml", "<html>Welcome</html>")),
              HasSubstr("does not answer in CIM-XML"));
  EXPECT_THAT(failureOf(httpAnswer(200, "text/xml", "")), HasSubstr("does not answer in CIM-XML"));
  EXPECT_THAT(failureOf(httpAnswer(404, "text/html", "none")), HasSubstr("is it a CIM server?"));
  EXPECT_THAT(failureOf(httpAnswer(302, "text/html", "none")), HasSubstr("HTTP 302"));
  EXPECT_THAT(failureOf("SSH-2.0-Server\r\n"), HasSubstr("no answer from http://127.0.0.1:"));
  EXPECT_THAT(failureOf(""), HasSubstr("no answer from http://127.0.0.1:"));
}

TEST(RemoteClient, TellsWhatIsWrongWithTheLogin) {
  const ScriptedServer server([](const std::string&) { return httpAnswer(401, "text/plain", ""); });
  RemoteSettings settings = settingsFor(server.url());
  EXPECT_THAT(failure(settings), HasSubstr("asks for a name and a password"));
  settings.transport.login = Login{"admin", "wrong"};
  EXPECT_THAT(failure(settings), HasSubstr("refuses the name or the password of admin"));
  EXPECT_THAT(failure(settings), Not(HasSubstr("wrong")));
  EXPECT_THAT(failureOf(httpAnswer(429, "text/plain", "")), HasSubstr("wait half a minute"));
}

TEST(RemoteClient, AnAnswerIsNotTakenWithoutEnd) {
  for (const char* begin :
       {"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n", "HTTP/1.1 200 OK\r\n"}) {
    const std::string block(64U * 1024, 'x');
    bool first = true;
    const ScriptedServer server(
        [&](const std::string&) {
          return std::exchange(first, false) ? begin + block + "\r\n" : block;
        },
        true);
    RemoteSettings settings = settingsFor(server.url());
    settings.transport.answerBytes = 1U << 20;
    EXPECT_THAT(failure(settings), Not(HasSubstr("answered")));
  }
}

TEST(RemoteClient, AnAnswerThatIsTooLargeIsToldSo) {
  const std::string body(2U << 20, ' ');
  const ScriptedServer server(
      [&](const std::string&) { return httpAnswer(200, "text/xml", body); });
  RemoteSettings settings = settingsFor(server.url());
  settings.transport.answerBytes = 1U << 20;
  EXPECT_THAT(failure(settings), HasSubstr("larger than 1 MiB"));
}

TEST(RemoteClient, TellsWhyThereIsNoConnection) {
  int port = 0;
  {
    const ScriptedServer gone([](const std::string&) { return ""; });
    port = gone.port();
  }
  EXPECT_THAT(failure(settingsFor("http://127.0.0.1:" + std::to_string(port))),
              HasSubstr("cannot connect to http://127.0.0.1:" + std::to_string(port) +
                        ": Connection refused"));
  EXPECT_THAT(failure(settingsFor("http://no-such-host.invalid")),
              HasSubstr("the host name no-such-host.invalid is not known"));
  const ScriptedServer plain([](const std::string&) { return "no TLS here"; });
  EXPECT_THAT(failure(settingsFor("https://127.0.0.1:" + std::to_string(plain.port()))),
              HasSubstr("cannot set up TLS with https://127.0.0.1:"));
}

/// A port at which connections are made by the system and nobody answers.
class SilentPort {
 public:
  SilentPort() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    auto* const plain = reinterpret_cast<sockaddr*>(&address_);
    const bool listens = ::bind(socket_, plain, size) == 0 && ::listen(socket_, 16) == 0 &&
                         ::getsockname(socket_, plain, &size) == 0;
    if (!listens) std::abort();
  }
  ~SilentPort() { ::close(socket_); }
  SilentPort(const SilentPort&) = delete;
  SilentPort& operator=(const SilentPort&) = delete;

  std::string url() const { return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }

 private:
  int socket_;
  sockaddr_in address_{};
};

TEST(RemoteClient, DoesNotWaitLongerThanItIsTold) {
  const SilentPort silent;
  RemoteSettings settings = settingsFor(silent.url());
  settings.transport.timeout = std::chrono::milliseconds(50);
  EXPECT_EQ(failure(settings), "no answer from " + silent.url() + " within 50 ms");
  settings.transport.timeout = std::chrono::seconds(20);
  settings.transport.cancelled = [] { return true; };
  EXPECT_EQ(failure(settings), "interrupted");
}

// ---- Subscriptions ----

broker::IndicationFilter alerts() {
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM T_Alert";
  return filter;
}

std::size_t count(const ScriptedServer& server, const std::string& text) {
  std::size_t number = 0;
  for (const std::string& one : server.requests()) number += one.find(text) != std::string::npos;
  return number;
}

TEST(RemoteSubscription, LeavesNothingBehindWhenItCannotBeMade) {
  const ScriptedServer server([](const std::string& request) {
    const bool isSubscription =
        request.find("<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\"") != std::string::npos;
    return isSubscription ? cimAnswer("<ERROR CODE=\"1\" DESCRIPTION=\"refused\"/>")
                          : cimAnswer("<IRETURNVALUE></IRETURNVALUE>");
  });
  RemoteClient client(settingsFor(server.url()));
  client.request(enumeration());
  const broker::SubscribeResult result = client.subscribe(alerts(), [](const auto&) {});
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.message, "in root/interop: refused");
  EXPECT_EQ(count(server, "CIMMethod: CreateInstance"), 3U);
  EXPECT_EQ(count(server, "CIMMethod: DeleteInstance"), 2U);
}

TEST(RemoteSubscription, LeavesNothingBehindWhenAnAnswerIsLost) {
  const ScriptedServer server([](const std::string& request) {
    const bool isSubscription =
        request.find("<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\"") != std::string::npos;
    return isSubscription ? std::string() : cimAnswer("<IRETURNVALUE></IRETURNVALUE>");
  });
  RemoteClient client(settingsFor(server.url()));
  client.request(enumeration());
  EXPECT_THROW(client.subscribe(alerts(), [](const auto&) {}), ConnectionError);
  EXPECT_EQ(count(server, "CIMMethod: DeleteInstance"), 3U);
}

TEST(RemoteSubscription, EndsWithTheClient) {
  const ScriptedServer server(
      [](const std::string&) { return cimAnswer("<IRETURNVALUE></IRETURNVALUE>"); });
  {
    RemoteClient client(settingsFor(server.url()));
    client.request(enumeration());
    EXPECT_TRUE(client.subscribe(alerts(), [](const auto&) {}).ok());
    const broker::SubscribeResult second = client.subscribe(alerts(), [](const auto&) {});
    EXPECT_TRUE(client.unsubscribe(second.id).ok());
    EXPECT_EQ(count(server, "CIMMethod: DeleteInstance"), 3U);
    EXPECT_EQ(client.unsubscribe(second.id).rc, CMPI_RC_ERR_NOT_FOUND);
  }
  EXPECT_EQ(count(server, "CIMMethod: DeleteInstance"), 6U);
}

}  // namespace
}  // namespace orv::client
