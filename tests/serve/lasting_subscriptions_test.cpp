// Subscriptions that outlive the process, change, and are limited.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/indication_listener.h"
#include "tests/serve/subscriber.h"
#include "tests/serve/test_alerts.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class LastingSubscriptions : public testing::Test {
 protected:
  LastingSubscriptions() {
    if (mkdtemp(directory_) == nullptr) std::abort();
    file_ = std::string(directory_) + "/subscriptions.json";
    settings_.subscriptions.file = file_;
    settings_.indications.retryInterval = std::chrono::milliseconds(1);
    start();
  }
  ~LastingSubscriptions() override {
    served_.reset();
    refuseAlertFilters("");
    fs::remove_all(directory_);
  }

  void start() {
    served_.reset();
    served_ = std::make_unique<ServedLibrary>(settings_);
  }
  Subscriber client() const { return Subscriber(served_->port()); }
  void alert(unsigned number) const { deliverAlert(served_->broker(), number); }
  std::size_t countOf(const std::string& className) const {
    return client().ask("EnumerateInstanceNames", classParameter("ClassName", className)).count();
  }
  std::string fileText() const {
    std::ifstream in(file_);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  Reply modify(const std::string& name, const std::string& instance,
               const std::string& more = "") const {
    return client().ask("ModifyInstance",
                        parameter("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + name + instance +
                                                          "</VALUE.NAMEDINSTANCE>") +
                            more);
  }
  Reply setState(const std::string& name, int state) const {
    return modify(Subscriber::subscriptionName(name, name),
                  "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\"><PROPERTY "
                  "NAME=\"SubscriptionState\" TYPE=\"uint16\"><VALUE>" +
                      std::to_string(state) + "</VALUE></PROPERTY></INSTANCE>");
  }
  Reply setQuery(const std::string& name, const std::string& query,
                 const std::string& more = "") const {
    return modify(objectName(kFilter, name),
                  objectInstance(kFilter, name, stringProperty("Query", query)), more);
  }

  char directory_[32] = "/tmp/orv-lasting-XXXXXX";
  std::string file_;
  serve::Endpoint::Settings settings_;
  IndicationListener listener_;
  std::unique_ptr<ServedLibrary> served_;
};

TEST_F(LastingSubscriptions, SurviveARestartAndAreActiveBeforeTheFirstRequest) {
  ASSERT_EQ(client().subscribe("x", listener_.url()), "");
  const AlertCalls before = alertCalls();
  start();
  EXPECT_EQ(alertCalls().activated, before.activated + 1);
  alert(1);  // no request has been made
  ASSERT_TRUE(listener_.waitFor(1));
  for (const char* className : {kFilter, kHandler, kSubscription}) {
    EXPECT_EQ(countOf(className), 1U) << className;
  }
  EXPECT_EQ(client().createSubscription("x", "x").code(), 11);
  EXPECT_EQ(client().remove(Subscriber::subscriptionName("x", "x")).code(), 0);
  start();
  EXPECT_EQ(countOf(kSubscription), 0U);
  EXPECT_EQ(countOf(kFilter), 1U);
}

TEST_F(LastingSubscriptions, ADamagedFileIsSetAsideAndTheServiceStarts) {
  ASSERT_EQ(client().subscribe("x", listener_.url()), "");
  served_.reset();
  std::ofstream(file_) << "{\"version\": 1, \"obj";
  testing::internal::CaptureStderr();
  start();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("is damaged"));
  EXPECT_EQ(countOf(kSubscription), 0U);
  EXPECT_EQ(client().subscribe("y", listener_.url()), "");
  EXPECT_TRUE(fs::exists(file_ + ".damaged"));
}

TEST_F(LastingSubscriptions, AnObjectThatIsIgnoredStaysInTheFile) {
  served_.reset();
  std::ofstream(file_) << R"({"version": 1, "objects": [{"class": "CIM_IndicationFilter",
      "creator": "192.0.2.7", "properties": {"Name": "half", "SourceNamespaces": ["root/cimv2"]}}]})";
  for (int run = 0; run < 2; ++run) {
    testing::internal::CaptureStderr();
    start();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("a stored CIM_IndicationFilter is ignored: key"));
    EXPECT_EQ(client().createFilter("f" + std::to_string(run)).code(), 0);  // saves the file
    EXPECT_EQ(countOf(kFilter), run + 1U);
    for (const char* part : {"\"half\"", "\"192.0.2.7\"", "\"root/cimv2\""}) {
      EXPECT_THAT(fileText(), HasSubstr(part));
    }
  }
}

TEST_F(LastingSubscriptions, OneThatItsProviderRefusesIsKept) {
  ASSERT_EQ(client().subscribe("x", listener_.url()), "");
  served_.reset();
  refuseAlertFilters("not today");
  testing::internal::CaptureStderr();
  start();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("not today"));
  EXPECT_EQ(countOf(kSubscription), 1U);
  refuseAlertFilters("");
  start();
  alert(1);
  EXPECT_TRUE(listener_.waitFor(1));
}

TEST_F(LastingSubscriptions, WhatCannotBeStoredDoesNotHappen) {
  fs::create_directory(file_ + ".new");  // in the way of the temporary file
  testing::internal::CaptureStderr();
  const Reply reply = client().createFilter("f");
  EXPECT_EQ(reply.code(), 1);
  EXPECT_EQ(reply.description(), "the change cannot be stored");
  EXPECT_EQ(countOf(kFilter), 0U);
  fs::remove(file_ + ".new");
  EXPECT_EQ(client().subscribe("f", listener_.url()), "");
  fs::create_directory(file_ + ".new");
  EXPECT_EQ(client().remove(Subscriber::subscriptionName("f", "f")).code(), 1);
  EXPECT_EQ(setState("f", 4).code(), 1);
  testing::internal::GetCapturedStderr();
  alert(1);  // still there
  EXPECT_TRUE(listener_.waitFor(1));
}

TEST_F(LastingSubscriptions, CanBeDisabledAndEnabledAgain) {
  ASSERT_EQ(client().subscribe("x", listener_.url()), "");
  ASSERT_EQ(client().subscribe("y", listener_.url()), "");
  const Reply disabled = setState("x", 4);
  ASSERT_EQ(disabled.code(), 0) << disabled.body;
  EXPECT_FALSE(disabled.value());
  alert(1);
  ASSERT_TRUE(listener_.waitFor(1));
  start();  // a disabled one stays so
  alert(2);
  ASSERT_TRUE(listener_.waitFor(2));
  ASSERT_EQ(setState("x", 2).code(), 0);
  alert(3);
  ASSERT_TRUE(listener_.waitFor(4));
  EXPECT_EQ(listener_.arrivals(), 4U);
}

TEST_F(LastingSubscriptions, AModifiedFilterHoldsAtOnce) {
  ASSERT_EQ(client().subscribe("x", listener_.url()), "");
  ASSERT_EQ(setQuery("x", "SELECT * FROM T_Alert WHERE number = 7").code(), 0);
  alert(1);
  alert(7);
  ASSERT_TRUE(listener_.waitFor(1));
  EXPECT_THAT(listener_.taken().front().body, HasSubstr("<VALUE>7</VALUE>"));
  // What is wrong changes nothing.
  EXPECT_EQ(setQuery("x", "SELECT").code(), 15);
  EXPECT_EQ(setQuery("x", "SELECT * FROM CIM_InstCreation").code(), 1);
  EXPECT_EQ(setQuery("none", "SELECT * FROM T_Alert").code(), 6);
  // Nor does what is not listed.
  EXPECT_EQ(setQuery("x", "SELECT", listParameter("PropertyList", {"Caption"})).code(), 0);
  alert(2);
  alert(7);
  ASSERT_TRUE(listener_.waitFor(2));
  EXPECT_EQ(listener_.arrivals(), 2U);
}

TEST_F(LastingSubscriptions, AModifiedHandlerSendsElsewhere) {
  IndicationListener other;
  ASSERT_EQ(client().subscribe("x", listener_.url()), "");
  const Reply reply =
      modify(objectName(kHandler, "x"),
             objectInstance(kHandler, "x", stringProperty("Destination", other.url())));
  ASSERT_EQ(reply.code(), 0) << reply.body;
  alert(1);
  ASSERT_TRUE(other.waitFor(1));
  EXPECT_EQ(listener_.arrivals(), 0U);
}

TEST_F(LastingSubscriptions, KeysAreNotModified) {
  ASSERT_EQ(client().createFilter("x").code(), 0);
  const Reply reply = modify(objectName(kFilter, "x"),
                             objectInstance(kFilter, "y", stringProperty("Caption", "new")));
  EXPECT_EQ(reply.code(), 0);
  const Reply read =
      client().ask("GetInstance", parameter("InstanceName", objectName(kFilter, "x")));
  EXPECT_THAT(read.body, HasSubstr("<VALUE>new</VALUE>"));
  EXPECT_EQ(countOf(kFilter), 1U);
}

TEST_F(LastingSubscriptions, ObjectsAreCountedInBytes) {
  settings_.subscriptions.bytes = 100'000;
  start();
  FilterText large;
  large.query = "SELECT * FROM T_Alert WHERE text = '" + std::string(40'000, 'x') + "'";
  EXPECT_EQ(client().createFilter("a", large).code(), 0);
  EXPECT_EQ(client().createFilter("b", large).code(), 0);
  EXPECT_EQ(client().createFilter("c", large).code(), 1);
  EXPECT_EQ(client().createFilter("c").code(), 0);
  EXPECT_EQ(setQuery("c", large.query).code(), 1);
  EXPECT_EQ(client().remove(objectName(kFilter, "a")).code(), 0);
  EXPECT_EQ(setQuery("c", large.query).code(), 0);
  EXPECT_LE(fileText().size(), 110'000U);
}

TEST_F(LastingSubscriptions, DestinationsThatAreNotAllowedAreRefused) {
  for (const char* url : {"http://192.0.2.1/", "https://[2001:db8::1]:80/x", "http://0x7f.1/"}) {
    const Reply reply = client().createHandler("h", url);
    EXPECT_THAT((std::vector<int>{0, 2, 4}), testing::Contains(reply.code())) << url;
    if (std::string(url).find("0x") == std::string::npos) {
      EXPECT_EQ(reply.code(), 2) << url;
    }
  }
  EXPECT_EQ(client().createHandler("n", "http://no-such-host.invalid/").code(), 0);  // told later
}

TEST_F(LastingSubscriptions, ANameIsCheckedWhereItLeads) {
  // The name is allowed, the address that it resolves to is not.
  settings_.subscriptions.rules = serve::DestinationRules({"192.0.2.0/24"});
  settings_.indications.attempts = 1;
  start();
  std::string url = listener_.url();
  url.replace(url.find("127.0.0.1"), 9, "localhost");
  ASSERT_EQ(client().subscribe("x", url), "");
  testing::internal::CaptureStderr();
  alert(1);
  served_.reset();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(listener_.arrivals(), 0U);
}

/// A certificate for 127.0.0.1 and its key, made by openssl. False where that is not installed.
bool makeCertificate(const std::string& directory) {
  const std::string command =
      "openssl req -x509 -newkey rsa:2048 -nodes -keyout " + directory + "/key.pem -out " +
      directory + "/cert.pem -days 2 -subj /CN=listener -addext subjectAltName=IP:127.0.0.1" +
      " >/dev/null 2>&1";
  return std::system(command.c_str()) == 0;  // NOLINT: a command of this test's own
}

std::string textOfFile(const std::string& file) {
  std::ifstream in(file);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST_F(LastingSubscriptions, HeartbeatsAreDeliveredOverHttpsToAListenerThatIsTrusted) {
  if (!makeCertificate(directory_)) GTEST_SKIP() << "openssl is not installed";
  const std::string certificate = textOfFile(std::string(directory_) + "/cert.pem");
  const std::string key = textOfFile(std::string(directory_) + "/key.pem");
  IndicationListener secure(certificate, key);
  settings_.indications.attempts = 1;
  start();  // does not know the listener's authority
  ASSERT_EQ(client().subscribe("x", secure.url()), "");
  testing::internal::CaptureStderr();
  alert(1);
  alert(2);
  served_.reset();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(secure.arrivals(), 0U);

  if (!isFirstToWaitForABeat()) GTEST_SKIP() << "another test of this process took the first beat";
  settings_.listenerAuthorities = std::string(directory_) + "/cert.pem";
  start();
  FilterText beats;
  beats.query = "SELECT * FROM Orvane_CIMHeartbeat";
  ASSERT_EQ(client().subscribe("beat", secure.url(), beats), "");
  ASSERT_TRUE(secure.waitFor(1));
  EXPECT_THAT(secure.taken().front().body, HasSubstr("Orvane_CIMHeartbeat"));
}

}  // namespace
}  // namespace orv::test
