// Enumerations in pieces, queries, and what clients look for in the interop namespace.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>
#include <vector>

#include "cimxml/messages.h"
#include "serve/open_enumerations.h"
#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/subscriber.h"

namespace orv::test {
namespace {

using serve::OpenEnumerations;
using serve::PullKind;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

std::string outParameter(const Reply& reply, const char* name) {
  return reply.response()
      .find_child_by_attribute("PARAMVALUE", "NAME", name)
      .child("VALUE")
      .text()
      .get();
}

bool isAtEnd(const Reply& reply) { return outParameter(reply, "EndOfSequence") == "TRUE"; }

class PullTest : public testing::Test {
 protected:
  Reply open(const std::string& method, const std::string& parameters, int count) const {
    return served_.ask(method,
                       parameters + valueParameter("MaxObjectCount", std::to_string(count)));
  }
  Reply pull(const std::string& method, const std::string& context, int count) const {
    return served_.ask(method, valueParameter("EnumerationContext", context) +
                                   valueParameter("MaxObjectCount", std::to_string(count)));
  }
  Reply query(const std::string& text, const std::string& language = "WQL") const {
    return served_.ask("ExecQuery",
                       valueParameter("QueryLanguage", language) + valueParameter("Query", text));
  }

  ServedLibrary served_;
};

TEST_F(PullTest, InstancesComeInPieces) {
  const Reply first = open("OpenEnumerateInstances", classParameter("ClassName", kPort), 1);
  ASSERT_EQ(first.code(), 0) << first.body;
  EXPECT_EQ(first.count(), 1U);
  EXPECT_FALSE(isAtEnd(first));
  const pugi::xml_node object = first.value().first_child();
  EXPECT_STREQ(object.name(), "VALUE.INSTANCEWITHPATH");
  EXPECT_TRUE(object.child("INSTANCEPATH").child("NAMESPACEPATH").child("HOST"));
  EXPECT_TRUE(object.child("INSTANCE"));
  const std::string context = outParameter(first, "EnumerationContext");
  const Reply second = pull("PullInstancesWithPath", context, 10);
  EXPECT_EQ(second.count(), 1U);
  EXPECT_TRUE(isAtEnd(second));
  EXPECT_NE(textOf(first.value().first_child()), textOf(second.value().first_child()));
  EXPECT_EQ(pull("PullInstancesWithPath", context, 10).code(), 21);
}

TEST_F(PullTest, WithoutACountNothingComesAtFirst) {
  const Reply first = served_.ask("OpenEnumerateInstancePaths", classParameter("ClassName", kPort));
  EXPECT_EQ(first.count(), 0U);
  EXPECT_FALSE(isAtEnd(first));
  const Reply rest = pull("PullInstancePaths", outParameter(first, "EnumerationContext"), 5);
  EXPECT_EQ(rest.count(), 2U);
  EXPECT_STREQ(rest.value().first_child().name(), "INSTANCEPATH");
  EXPECT_TRUE(isAtEnd(rest));
}

TEST_F(PullTest, AllInOneNeedsNoPull) {
  const Reply all =
      open("OpenEnumerateInstances",
           classParameter("ClassName", kPort) + listParameter("PropertyList", {"DeviceID"}), 100);
  EXPECT_EQ(all.count(), 2U);
  EXPECT_TRUE(isAtEnd(all));
  EXPECT_EQ(outParameter(all, "EnumerationContext"), "");
  EXPECT_EQ(all.value().first_child().child("INSTANCE").select_nodes("PROPERTY").size(), 1U);
}

TEST_F(PullTest, AssociationsComeInPiecesToo) {
  const std::string port = parameter("InstanceName", served_.firstName(kPort));
  EXPECT_EQ(open("OpenAssociatorInstances", port, 100).count(), 4U);
  EXPECT_EQ(open("OpenAssociatorInstancePaths", port, 100).count(), 4U);
  EXPECT_EQ(open("OpenReferenceInstances", port, 100).count(), 4U);
  const Reply some = open("OpenReferenceInstancePaths", port, 3);
  EXPECT_EQ(some.count(), 3U);
  EXPECT_EQ(pull("PullInstancePaths", outParameter(some, "EnumerationContext"), 3).count(), 1U);
}

TEST_F(PullTest, AnEnumerationIsPulledAsItWasOpened) {
  const Reply opened = served_.ask("OpenEnumerateInstances", classParameter("ClassName", kPort));
  const std::string context = outParameter(opened, "EnumerationContext");
  EXPECT_EQ(pull("PullInstancePaths", context, 1).code(), 21);
  EXPECT_EQ(pull("PullInstancesWithPath", "0123", 1).code(), 21);
  const Reply closed =
      served_.ask("CloseEnumeration", valueParameter("EnumerationContext", context));
  EXPECT_EQ(closed.code(), 0);
  EXPECT_FALSE(closed.value());
  EXPECT_EQ(pull("PullInstancesWithPath", context, 1).code(), 21);
}

TEST_F(PullTest, WhatIsNotServedIsRefused) {
  const auto code = [&](const std::string& parameters) {
    return served_.ask("OpenEnumerateInstances", classParameter("ClassName", kPort) + parameters)
        .code();
  };
  EXPECT_EQ(code(valueParameter("OperationTimeout", "0")), 22);
  EXPECT_EQ(code(valueParameter("OperationTimeout", "301")), 22);
  EXPECT_EQ(code(valueParameter("OperationTimeout", "soon")), 4);
  EXPECT_EQ(code(valueParameter("MaxObjectCount", "-1")), 4);
  EXPECT_EQ(code(valueParameter("FilterQuery", "DeviceID = 'x'")), 25);
  EXPECT_EQ(code(valueParameter("ContinueOnError", "TRUE")), 26);
}

TEST_F(PullTest, OpenEnumerationsAreLimited) {
  Reply reply;
  int opened = 0;
  do {
    reply = served_.ask("OpenEnumerateInstances", classParameter("ClassName", kPort));
    ++opened;
  } while (reply.code() == 0 && opened < 1000);
  EXPECT_EQ(reply.code(), 27);
  EXPECT_EQ(opened, 65);
}

TEST(OpenEnumerationsTest, EndWhenNobodyPullsInTime) {
  OpenEnumerations enumerations;
  const OpenEnumerations::Clock::time_point start{seconds(1000)};
  OpenEnumerations::Enumeration enumeration;
  enumeration.objects.resize(3);
  enumeration.timeout = seconds(10);
  const std::string context = enumerations.open(enumeration, 0, start).context;
  EXPECT_EQ(enumerations.pull(context, PullKind::kInstancesWithPath, 1, start + seconds(9))
                .objects.size(),
            1U);
  // Each pull begins the time anew.
  EXPECT_EQ(enumerations.pull(context, PullKind::kInstancesWithPath, 1, start + seconds(18))
                .objects.size(),
            1U);
  EXPECT_THROW(enumerations.pull(context, PullKind::kInstancesWithPath, 1, start + seconds(28)),
               cimxml::CimError);
  EXPECT_EQ(enumerations.size(), 0U);
}

TEST(OpenEnumerationsTest, ObjectsOfAllTogetherAreLimited) {
  OpenEnumerations::Limits limits;
  limits.objects = 10;
  OpenEnumerations enumerations(limits);
  OpenEnumerations::Enumeration enumeration;
  enumeration.objects.resize(6);
  enumeration.timeout = seconds(10);
  const std::string context = enumerations.open(enumeration, 0).context;
  EXPECT_THROW(enumerations.open(enumeration, 0), cimxml::CimError);
  enumerations.close(context);
  EXPECT_NE(enumerations.open(enumeration, 0).context, "");
}

// ---- Queries ----

TEST_F(PullTest, AQuerySelectsInstancesAndProperties) {
  const Reply all = query("SELECT * FROM Orvane_EthernetPort");
  EXPECT_EQ(all.count(), 2U);
  const Reply one = query("SELECT DeviceID, Speed FROM CIM_NetworkPort WHERE DeviceID = 'nic0'");
  ASSERT_EQ(one.count(), 1U) << one.body;
  EXPECT_STREQ(one.value().first_child().name(), "VALUE.OBJECTWITHPATH");
  EXPECT_EQ(one.value().first_child().child("INSTANCE").select_nodes("PROPERTY").size(), 2U);
  EXPECT_EQ(query("SELECT * FROM CIM_NetworkPort WHERE Speed &gt; 1 AND NOT DeviceID LIKE 'nic%'")
                .count(),
            0U);
}

TEST_F(PullTest, AQueryThatIsNoneIsTold) {
  EXPECT_EQ(query("SELECT").code(), 15);
  EXPECT_EQ(query("SELECT * FROM Orvane_EthernetPort", "SQL").code(), 14);
  EXPECT_EQ(query("SELECT * FROM Orvane_Nothing").code(), 5);
}

TEST_F(PullTest, AQueryCanBePulled) {
  const Reply opened =
      open("OpenQueryInstances",
           valueParameter("FilterQueryLanguage", "DMTF:CQL") +
               valueParameter("FilterQuery", "SELECT DeviceID FROM Orvane_EthernetPort"),
           1);
  ASSERT_EQ(opened.code(), 0) << opened.body;
  EXPECT_STREQ(opened.value().first_child().name(), "INSTANCE");
  const Reply rest = pull("PullInstances", outParameter(opened, "EnumerationContext"), 1);
  EXPECT_EQ(rest.count(), 1U);
  EXPECT_TRUE(isAtEnd(rest));
}

// ---- The interop namespace ----

class InteropTest : public testing::Test {
 protected:
  ServedLibrary served_;
  Subscriber client_{served_.port()};

  std::vector<std::string> classesOf(const Reply& reply) const {
    std::vector<std::string> classes;
    for (const pugi::xml_node child : reply.value().children()) {
      const pugi::xml_node name = child.child("INSTANCEPATH").child("INSTANCENAME");
      classes.emplace_back((name ? name : child).attribute("CLASSNAME").value());
    }
    return classes;
  }
};

TEST_F(InteropTest, TellsManagerNamespacesAndProfile) {
  const auto names = [&](const char* className) {
    return client_.ask("EnumerateInstanceNames", classParameter("ClassName", className));
  };
  const Reply manager = names("CIM_ObjectManager");
  EXPECT_EQ(manager.count(), 1U);
  EXPECT_EQ(names("CIM_RegisteredProfile").count(), 1U);
  const Reply namespaces =
      client_.ask("EnumerateInstances", classParameter("ClassName", "CIM_Namespace"));
  EXPECT_THAT(namespaces.body, HasSubstr("<VALUE>root/cimv2</VALUE>"));
  EXPECT_THAT(namespaces.body, HasSubstr("<VALUE>root/interop</VALUE>"));
  const std::string name = textOf(manager.value().first_child());
  EXPECT_THAT(classesOf(client_.ask("AssociatorNames", parameter("ObjectName", name))),
              ElementsAre("CIM_Namespace", "CIM_Namespace"));
  EXPECT_EQ(client_.ask("GetInstance", parameter("InstanceName", name)).code(), 0);
  EXPECT_EQ(client_.remove(name).code(), 7);
}

TEST_F(InteropTest, EveryInstanceHasTheClassesPropertiesAndTypes) {
  for (const char* className :
       {"CIM_ObjectManager", "CIM_Namespace", "CIM_RegisteredProfile", "CIM_NamespaceInManager"}) {
    const Reply definition = client_.ask(
        "GetClass", classParameter("ClassName", className) + valueParameter("LocalOnly", "FALSE"));
    const Reply instances =
        client_.ask("EnumerateInstances", classParameter("ClassName", className));
    EXPECT_GT(instances.count(), 0U) << className;
    for (const auto& found : instances.document->select_nodes("//INSTANCE/*")) {
      const pugi::xml_node property = found.node();
      const pugi::xml_node declared = definition.value().child("CLASS").find_child_by_attribute(
          property.name(), "NAME", property.attribute("NAME").value());
      ASSERT_TRUE(declared) << className << "." << property.attribute("NAME").value();
      EXPECT_STREQ(declared.attribute("TYPE").value(), property.attribute("TYPE").value())
          << property.attribute("NAME").value();
    }
  }
}

TEST_F(InteropTest, FilterAndHandlerAreAssociatedByTheirSubscription) {
  ASSERT_EQ(client_.subscribe("x", "http://127.0.0.1:9/"), "");
  const std::string filter = parameter("ObjectName", objectName("CIM_IndicationFilter", "x"));
  EXPECT_THAT(classesOf(client_.ask("AssociatorNames", filter)),
              ElementsAre("CIM_IndicationHandlerCIMXML"));
  EXPECT_THAT(classesOf(client_.ask("References", filter)),
              ElementsAre("CIM_IndicationSubscription"));
  const auto count = [&](const std::string& parameters) {
    return client_.ask("Associators", filter + parameters).count();
  };
  EXPECT_EQ(count(valueParameter("Role", "Filter")), 1U);
  EXPECT_EQ(count(valueParameter("Role", "Handler")), 0U);
  EXPECT_EQ(count(valueParameter("ResultRole", "Handler")), 1U);
  EXPECT_EQ(count(classParameter("AssocClass", "CIM_IndicationSubscription")), 1U);
  EXPECT_EQ(count(classParameter("AssocClass", "CIM_NamespaceInManager")), 0U);
  EXPECT_EQ(count(classParameter("ResultClass", "CIM_ListenerDestination")), 1U);
  EXPECT_EQ(count(classParameter("ResultClass", "CIM_IndicationFilter")), 0U);
  EXPECT_EQ(
      client_.ask("Associators", filter + classParameter("ResultClass", "CIM_Nothing")).code(), 5);
}

// ---- What one request may cost ----

TEST_F(PullTest, APropertyListOfManyNamesCostsMilliseconds) {
  std::vector<std::string> names;
  for (int i = 0; i < 45'000; ++i) names.push_back("P" + std::to_string(i));
  names.push_back("DeviceID");
  const std::string request =
      requestMessage("EnumerateInstances", "root/cimv2",
                     classParameter("ClassName", kPort) + listParameter("PropertyList", names));
  ASSERT_LT(request.size(), 2U << 20);
  serve::Endpoint::Settings settings;
  settings.http.limits.bodyBytes = 2U << 20;
  const ServedLibrary served(settings);
  const auto before = std::clock();
  const Reply reply = served.post(request);
  EXPECT_LT(std::clock() - before, 2 * CLOCKS_PER_SEC);  // processor time of the whole process
  ASSERT_EQ(reply.count(), 2U) << reply.httpStatus;
  EXPECT_EQ(reply.value().first_child().child("INSTANCE").select_nodes("PROPERTY").size(), 1U);
}

TEST(AnswerLimits, AnAnswerThatIsTooLargeIsToldAndCanBePulled) {
  serve::Endpoint::Settings settings;
  settings.operations.answerBytes = 2000;
  const ServedLibrary served(settings);
  const Reply whole = served.ask("EnumerateInstances", classParameter("ClassName", kPort));
  EXPECT_EQ(whole.code(), 1);
  EXPECT_THAT(whole.description(), HasSubstr("pull it in pieces"));
  EXPECT_EQ(served.ask("EnumerateInstanceNames", classParameter("ClassName", kPort)).count(), 2U);
}

}  // namespace
}  // namespace orv::test
