// Subscriptions as clients make them over the wire, and what their listeners get.

#include "serve/subscriptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/indication_listener.h"
#include "tests/serve/subscriber.h"
#include "tests/serve/test_alerts.h"

namespace orv::test {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

serve::Endpoint::Settings quickRetries() {
  serve::Endpoint::Settings settings;
  settings.indications.retryInterval = milliseconds(1);
  settings.indications.attempts = 3;
  settings.indications.queueLength = 4;
  settings.subscriptions.rules = serve::DestinationRules({"any"});
  return settings;
}

class SubscriptionsTest : public testing::Test {
 protected:
  ~SubscriptionsTest() override { refuseAlertFilters(""); }

  void alert(unsigned number) { deliverAlert(served_.broker(), number); }

  std::vector<std::string> numbersTaken() const {
    std::vector<std::string> numbers;
    for (const Exported& request : listener_.taken()) {
      pugi::xml_document document;
      document.load_string(request.body.c_str());
      const auto found = document.select_node("//PROPERTY[@NAME='number']/VALUE");
      numbers.emplace_back(found.node().text().get());
    }
    return numbers;
  }

  std::size_t countOf(const std::string& className) const {
    return client_.ask("EnumerateInstanceNames", classParameter("ClassName", className)).count();
  }

  IndicationListener listener_;
  ServedLibrary served_{quickRetries()};
  Subscriber client_{served_.port()};
};

// ---- Making and unmaking ----

TEST_F(SubscriptionsTest, EveryCreationAnswersTheNewName) {
  const Reply filter = client_.createFilter("f");
  ASSERT_EQ(filter.code(), 0) << filter.body;
  EXPECT_STREQ(filter.value().child("INSTANCENAME").attribute("CLASSNAME").value(), kFilter);
  const Reply handler = client_.createHandler("h", listener_.url());
  ASSERT_EQ(handler.code(), 0) << handler.body;
  const Reply subscription = client_.createSubscription("f", "h");
  ASSERT_EQ(subscription.code(), 0) << subscription.body;
  const pugi::xml_node key = subscription.value()
                                 .child("INSTANCENAME")
                                 .find_child_by_attribute("KEYBINDING", "NAME", "Filter");
  EXPECT_TRUE(key.child("VALUE.REFERENCE").child("LOCALINSTANCEPATH"));
}

TEST_F(SubscriptionsTest, BothKindsOfListenerDestinationServe) {
  for (const char* className : {kHandler, kListenerDestination}) {
    const std::string name = className;
    ASSERT_EQ(client_.createFilter(name).code(), 0);
    ASSERT_EQ(client_.createHandler(name, listener_.url(), className).code(), 0);
    ASSERT_EQ(client_.createSubscription(name, name, className).code(), 0);
  }
  alert(1);
  EXPECT_TRUE(listener_.waitFor(2));
}

TEST_F(SubscriptionsTest, ReferencesMayComeInEveryForm) {
  ASSERT_EQ(client_.createHandler("h", listener_.url()).code(), 0);
  for (const ReferenceForm form : {ReferenceForm::kInstanceName, ReferenceForm::kLocalInstancePath,
                                   ReferenceForm::kInstancePath}) {
    ASSERT_EQ(client_.createFilter("f").code(), 0);
    const Reply made = client_.createSubscription("f", "h", kHandler, form);
    EXPECT_EQ(made.code(), 0) << made.body;
    // The same subscription, whichever form names it.
    EXPECT_EQ(client_.createSubscription("f", "h").code(), 11);
    const Reply removed = client_.remove(Subscriber::subscriptionName("f", "h", kHandler, form));
    EXPECT_EQ(removed.code(), 0) << removed.body;
    EXPECT_EQ(client_.remove(objectName(kFilter, "f")).code(), 0);
  }
}

TEST_F(SubscriptionsTest, AFilterThatExistsIsTold) {
  ASSERT_EQ(client_.createFilter("f").code(), 0);
  EXPECT_EQ(client_.createFilter("f").code(), 11);
  FilterText other;
  other.query = "SELECT * FROM CIM_Indication";
  EXPECT_EQ(client_.createFilter("f", other).code(), 11);
  EXPECT_EQ(countOf(kFilter), 1U);
}

TEST_F(SubscriptionsTest, ABadQueryIsToldWhenTheFilterIsMade) {
  for (const char* query :
       {"", "SELECT", "DELETE FROM T_Alert", "SELECT * FROM", "SELECT * FROM T_Alert WHERE",
        "SELECT * FROM T_Alert WHERE number ="}) {
    FilterText bad;
    bad.query = query;
    const Reply reply = client_.createFilter("f", bad);
    EXPECT_EQ(reply.code(), 15) << query;
    EXPECT_NE(reply.description(), "") << query;
  }
  EXPECT_EQ(countOf(kFilter), 0U);
}

TEST_F(SubscriptionsTest, OnlyKnownQueryLanguagesAreTaken) {
  FilterText filter;
  for (const char* language : {"", "SQL", "XPath"}) {
    filter.language = language;
    EXPECT_EQ(client_.createFilter("f", filter).code(), 14) << language;
  }
  for (const char* language : {"WQL", "CQL", "DMTF:CQL"}) {
    filter.language = language;
    EXPECT_EQ(client_.createFilter(language, filter).code(), 0) << language;
  }
}

TEST_F(SubscriptionsTest, AClassWithoutIndicationProviderIsToldAtTheSubscription) {
  FilterText filter;
  filter.query = "SELECT * FROM CIM_InstCreation";
  const std::string failure = client_.subscribe("f", listener_.url(), filter);
  EXPECT_THAT(failure, HasSubstr("CODE=\"1\""));
  EXPECT_THAT(failure, HasSubstr("No indication provider for class CIM_InstCreation"));
  EXPECT_EQ(countOf("CIM_IndicationSubscription"), 0U);
  EXPECT_EQ(client_.remove(objectName(kFilter, "f")).code(), 0);
}

TEST_F(SubscriptionsTest, WithoutSourceNamespaceTheInteropNamespaceIsWatched) {
  FilterText filter;
  filter.sourceNamespace = "";
  EXPECT_THAT(client_.subscribe("f", listener_.url(), filter), HasSubstr("CODE=\"1\""));
}

TEST_F(SubscriptionsTest, TheFirstOfSourceNamespacesCounts) {
  const std::string filter = objectInstance(
      kFilter, "f",
      stringProperty("Query", "SELECT * FROM T_Alert") + stringProperty("QueryLanguage", "WQL") +
          "<PROPERTY.ARRAY NAME=\"SourceNamespaces\" TYPE=\"string\"><VALUE.ARRAY>"
          "<VALUE>root/cimv2</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>");
  ASSERT_EQ(client_.create(filter).code(), 0);
  ASSERT_EQ(client_.createHandler("h", listener_.url()).code(), 0);
  EXPECT_EQ(client_.createSubscription("f", "h").code(), 0);
}

TEST_F(SubscriptionsTest, ASourceNamespaceThatIsNotThereIsTold) {
  FilterText filter;
  filter.sourceNamespace = "root/nothing";
  EXPECT_THAT(client_.subscribe("f", listener_.url(), filter), HasSubstr("CODE=\"3\""));
}

TEST_F(SubscriptionsTest, AProvidersRefusalFailsTheSubscriptionWithItsText) {
  refuseAlertFilters("not for you");
  const std::string failure = client_.subscribe("f", listener_.url());
  EXPECT_THAT(failure, HasSubstr("CODE=\"2\""));
  EXPECT_THAT(failure, HasSubstr("DESCRIPTION=\"not for you\""));
  refuseAlertFilters("");
  EXPECT_EQ(client_.createSubscription("f", "f").code(), 0);
}

TEST_F(SubscriptionsTest, TheProviderIsToldClassAndNamespaceOnceAFilter) {
  const AlertCalls before = alertCalls();
  ASSERT_EQ(client_.subscribe("f", listener_.url()), "");
  ASSERT_EQ(client_.createHandler("h2", listener_.url()).code(), 0);
  ASSERT_EQ(client_.createSubscription("f", "h2").code(), 0);
  const AlertCalls after = alertCalls();
  EXPECT_EQ(after.activated, before.activated + 1);
  EXPECT_EQ(after.className, "T_Alert");
  EXPECT_EQ(after.pathNamespace, "root/cimv2");
  EXPECT_EQ(client_.remove(Subscriber::subscriptionName("f", "f")).code(), 0);
  EXPECT_EQ(alertCalls().deactivated, before.deactivated);
  EXPECT_EQ(client_.remove(Subscriber::subscriptionName("f", "h2")).code(), 0);
  EXPECT_EQ(alertCalls().deactivated, before.deactivated + 1);
}

TEST_F(SubscriptionsTest, WhatASubscriptionUsesCannotBeDeletedBeforeIt) {
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  const Reply filter = client_.remove(objectName(kFilter, "x"));
  EXPECT_EQ(filter.code(), 1);
  EXPECT_EQ(filter.description(), "Filter in use");
  const Reply handler = client_.remove(objectName(kHandler, "x"));
  EXPECT_EQ(handler.code(), 1);
  EXPECT_EQ(handler.description(), "Handler in use");
  const Reply subscription = client_.remove(Subscriber::subscriptionName("x", "x"));
  EXPECT_EQ(subscription.code(), 0);
  EXPECT_FALSE(subscription.value());
  EXPECT_EQ(client_.remove(objectName(kHandler, "x")).code(), 0);
  EXPECT_EQ(client_.remove(objectName(kFilter, "x")).code(), 0);
  EXPECT_EQ(client_.remove(objectName(kFilter, "x")).code(), 6);
}

TEST_F(SubscriptionsTest, TheThreeClassesAreEnumeratedAndRead) {
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  EXPECT_EQ(countOf(kFilter), 1U);
  EXPECT_EQ(countOf(kHandler), 1U);
  EXPECT_EQ(countOf("CIM_ListenerDestination"), 1U);  // the handler's parent
  EXPECT_EQ(countOf("CIM_IndicationSubscription"), 1U);
  const Reply subscriptions =
      client_.ask("EnumerateInstances", classParameter("ClassName", "CIM_IndicationSubscription"));
  const pugi::xml_node instance = subscriptions.value().first_child().child("INSTANCE");
  const pugi::xml_node state =
      instance.find_child_by_attribute("PROPERTY", "NAME", "SubscriptionState");
  EXPECT_STREQ(state.child("VALUE").text().get(), "2");
  const Reply filter =
      client_.ask("GetInstance", parameter("InstanceName", objectName(kFilter, "x")));
  EXPECT_THAT(filter.body, HasSubstr("SELECT * FROM T_Alert"));
  const Reply listed =
      client_.ask("GetInstance", parameter("InstanceName", objectName(kFilter, "x")) +
                                     listParameter("PropertyList", {"QueryLanguage"}));
  EXPECT_EQ(listed.value().first_child().select_nodes("*").size(), 1U);
  EXPECT_EQ(client_.ask("GetInstance", parameter("InstanceName", objectName(kFilter, "y"))).code(),
            6);
}

TEST_F(SubscriptionsTest, WhatMakesNoSubscriptionIsRefused) {
  const auto code = [&](const std::string& instance) { return client_.create(instance).code(); };
  EXPECT_EQ(code("<INSTANCE CLASSNAME=\"CIM_Nothing\"/>"), 5);
  EXPECT_EQ(code("<INSTANCE CLASSNAME=\"CIM_IndicationFilter\"/>"), 4);  // keys are missing
  EXPECT_EQ(code("<INSTANCE CLASSNAME=\"CIM_ManagedElement\"/>"), 7);
  EXPECT_EQ(code(objectInstance(kHandler, "h", "")), 4);  // no Destination
  for (const char* url : {"ftp://localhost/", "listener", "http://", "http://host:0/",
                          "http://host:99999/", "http://[::1/", "http://a b/"}) {
    EXPECT_EQ(client_.createHandler("h", url).code(), 4) << url;
  }
  EXPECT_EQ(code(objectInstance(kHandler, "h",
                                "<PROPERTY NAME=\"Destination\" TYPE=\"uint8\"><VALUE>1</VALUE>"
                                "</PROPERTY>")),
            13);
  EXPECT_EQ(client_.createSubscription("none", "none").code(), 4);
  ASSERT_EQ(client_.createHandler("h", listener_.url()).code(), 0);
  ASSERT_EQ(client_.createFilter("f").code(), 0);
  EXPECT_EQ(client_.createSubscription("f", "none").code(), 4);
  EXPECT_EQ(client_
                .createSubscription("f", "h", kHandler, ReferenceForm::kInstanceName,
                                    stringProperty("SubscriptionState", "2"))
                .code(),
            13);
  EXPECT_EQ(client_.remove("<INSTANCENAME CLASSNAME=\"CIM_Nothing\"/>").code(), 5);
}

// ---- Deliveries ----

TEST_F(SubscriptionsTest, AnIndicationIsExportedAsTheProtocolSays) {
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  deliverAlert(served_.broker(), 7, "<hot> & \"loud\"");
  ASSERT_TRUE(listener_.waitFor(1));
  const Exported request = listener_.taken().front();
  EXPECT_EQ(request.path, "/listener");
  EXPECT_EQ(request.headers.at("Content-Type"), "application/xml; charset=\"utf-8\"");
  EXPECT_EQ(request.headers.at("CIMProtocolVersion"), "1.0");
  EXPECT_EQ(request.headers.at("CIMExport"), "MethodRequest");
  EXPECT_EQ(request.headers.at("CIMExportMethod"), "ExportIndication");
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(request.body.c_str()));
  const pugi::xml_node call =
      document.select_node("/CIM/MESSAGE/SIMPLEEXPREQ/EXPMETHODCALL[@NAME='ExportIndication']")
          .node();
  const pugi::xml_node instance =
      call.find_child_by_attribute("EXPPARAMVALUE", "NAME", "NewIndication").child("INSTANCE");
  EXPECT_STREQ(instance.attribute("CLASSNAME").value(), "T_Alert");
  const auto value = [&](const char* name) {
    return std::string(
        instance.find_child_by_attribute("PROPERTY", "NAME", name).child("VALUE").text().get());
  };
  EXPECT_EQ(value("number"), "7");
  EXPECT_EQ(value("text"), "<hot> & \"loud\"");
}

TEST_F(SubscriptionsTest, TheConditionOfTheQueryCounts) {
  FilterText filter;
  filter.query = "SELECT * FROM T_Alert WHERE number &gt; 5";
  ASSERT_EQ(client_.subscribe("x", listener_.url(), filter), "");
  for (const unsigned number : {1U, 6U, 2U, 9U}) alert(number);
  ASSERT_TRUE(listener_.waitFor(2));
  EXPECT_THAT(numbersTaken(), testing::ElementsAre("6", "9"));
}

TEST_F(SubscriptionsTest, NothingIsDeliveredAfterTheSubscriptionIsDeleted) {
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  ASSERT_EQ(client_.subscribe("y", listener_.url()), "");
  ASSERT_EQ(client_.remove(Subscriber::subscriptionName("x", "x")).code(), 0);
  alert(1);
  ASSERT_TRUE(listener_.waitFor(1));
  ASSERT_EQ(client_.remove(Subscriber::subscriptionName("y", "y")).code(), 0);
  alert(2);
  ASSERT_EQ(client_.subscribe("z", listener_.url()), "");
  alert(3);
  ASSERT_TRUE(listener_.waitFor(2));
  EXPECT_THAT(numbersTaken(), testing::ElementsAre("1", "3"));
}

TEST_F(SubscriptionsTest, ADisabledSubscriptionDeliversNothing) {
  ASSERT_EQ(client_.createFilter("f").code(), 0);
  ASSERT_EQ(client_.createHandler("h", listener_.url()).code(), 0);
  ASSERT_EQ(client_
                .createSubscription("f", "h", kHandler, ReferenceForm::kInstanceName,
                                    "<PROPERTY NAME=\"SubscriptionState\" TYPE=\"uint16\">"
                                    "<VALUE>4</VALUE></PROPERTY>")
                .code(),
            0);
  alert(1);
  ASSERT_EQ(client_.subscribe("on", listener_.url()), "");
  alert(2);
  ASSERT_TRUE(listener_.waitFor(1));
  EXPECT_THAT(numbersTaken(), testing::ElementsAre("2"));
  EXPECT_EQ(client_.remove(Subscriber::subscriptionName("f", "h")).code(), 0);
}

TEST_F(SubscriptionsTest, AFailedDeliveryIsTriedAgain) {
  listener_.failNext(2);
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  alert(5);
  ASSERT_TRUE(listener_.waitFor(1));
  EXPECT_EQ(listener_.arrivals(), 3U);
  EXPECT_THAT(numbersTaken(), testing::ElementsAre("5"));
}

TEST_F(SubscriptionsTest, ADeliveryThatAlwaysFailsIsGivenUp) {
  listener_.failNext(3);
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  alert(5);
  alert(6);
  ASSERT_TRUE(listener_.waitFor(1));
  EXPECT_THAT(numbersTaken(), testing::ElementsAre("6"));
  EXPECT_EQ(listener_.arrivals(), 4U);
}

TEST_F(SubscriptionsTest, ADeadListenerDelaysNoOther) {
  // 192.0.2.0/24 belongs to nobody: connecting either fails at once or hangs.
  ASSERT_EQ(client_.subscribe("dead", "http://192.0.2.1:9/"), "");
  ASSERT_EQ(client_.subscribe("alive", listener_.url()), "");
  const auto before = std::chrono::steady_clock::now();
  for (unsigned i = 0; i < 3; ++i) alert(i);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
  ASSERT_TRUE(listener_.waitFor(3));
  const auto end = std::chrono::steady_clock::now();
  served_.stopEndpoint();  // nor the end of the endpoint
  EXPECT_LT(std::chrono::steady_clock::now() - end, std::chrono::seconds(5));
}

TEST_F(SubscriptionsTest, ASlowListenersQueueKeepsTheNewest) {
  listener_.hold(true);
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  alert(0);
  ASSERT_TRUE(listener_.waitForArrivals(1));  // 0 is under way, the queue empty
  for (unsigned i = 1; i <= 50; ++i) alert(i);
  listener_.hold(false);
  ASSERT_TRUE(listener_.waitFor(5));
  EXPECT_THAT(numbersTaken(), testing::ElementsAre("0", "47", "48", "49", "50"));
}

TEST_F(SubscriptionsTest, AListenerThatIsBeingPostedToDoesNotHoldUpTheEnd) {
  listener_.hold(true);
  ASSERT_EQ(client_.subscribe("x", listener_.url()), "");
  alert(0);
  ASSERT_TRUE(listener_.waitForArrivals(1));
  const auto before = std::chrono::steady_clock::now();
  served_.stopEndpoint();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
}

TEST_F(SubscriptionsTest, SubscribingAgainAndAgainLeavesNothingBehind) {
  const auto threads = [] {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& task :
         std::filesystem::directory_iterator("/proc/self/task")) {
      ++count;
    }
    return count;
  };
  const auto round = [&](unsigned number) {
    EXPECT_EQ(client_.subscribe("x", listener_.url()), "");
    alert(number);
    EXPECT_TRUE(listener_.waitFor(number + 1));
    EXPECT_EQ(client_.remove(Subscriber::subscriptionName("x", "x")).code(), 0);
    EXPECT_EQ(client_.remove(objectName(kHandler, "x")).code(), 0);
    EXPECT_EQ(client_.remove(objectName(kFilter, "x")).code(), 0);
  };
  for (unsigned i = 0; i < 3; ++i) round(i);
  const std::size_t before = threads();
  for (unsigned i = 3; i < 30; ++i) round(i);
  EXPECT_LE(threads(), before + 4);
}

TEST_F(SubscriptionsTest, AHeartbeatOfTheLibraryReachesTheListener) {
  if (!isFirstToWaitForABeat()) GTEST_SKIP() << "another test of this process took the first beat";
  FilterText filter;
  filter.query = "SELECT * FROM Orvane_CIMHeartbeat";
  ASSERT_EQ(client_.subscribe("beat", listener_.url(), filter), "");
  ASSERT_TRUE(listener_.waitFor(1));
  const std::string body = listener_.taken().front().body;
  EXPECT_THAT(body, HasSubstr("<INSTANCE CLASSNAME=\"Orvane_CIMHeartbeat\">"));
  EXPECT_THAT(body, HasSubstr("<PROPERTY NAME=\"stamp\" TYPE=\"uint32\"><VALUE>0</VALUE>"));
  EXPECT_THAT(body, HasSubstr("<PROPERTY NAME=\"IndicationTime\" TYPE=\"datetime\">"));
}

TEST_F(SubscriptionsTest, AFilterOnAParentClassGetsHeartbeatsToo) {
  if (!isFirstToWaitForABeat()) GTEST_SKIP() << "another test of this process took the first beat";
  FilterText filter;
  filter.query = "SELECT * FROM CIM_ProcessIndication";
  ASSERT_EQ(client_.subscribe("all", listener_.url(), filter), "");
  ASSERT_TRUE(listener_.waitFor(1));
  alert(3);
  ASSERT_TRUE(listener_.waitFor(2));
}

}  // namespace
}  // namespace orv::test
