// Every operation, each of its parameters and each of its errors, over HTTP on the simulated
// library.

#include "serve/endpoint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "tests/serve/endpoint_fixture.h"

namespace orv::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

std::string childName(const pugi::xml_node& node) { return node.first_child().name(); }

/// NAME of each PROPERTY, PROPERTY.ARRAY and PROPERTY.REFERENCE below an INSTANCE or CLASS.
std::vector<std::string> propertyNames(const pugi::xml_node& node) {
  std::vector<std::string> names;
  for (const pugi::xml_node child : node.children()) {
    if (std::string(child.name()).rfind("PROPERTY", 0) == 0) {
      names.emplace_back(child.attribute("NAME").value());
    }
  }
  return names;
}

pugi::xml_node property(const pugi::xml_node& node, const std::string& name) {
  for (const pugi::xml_node child : node.children()) {
    const bool isProperty = std::string(child.name()).rfind("PROPERTY", 0) == 0;
    if (isProperty && name == child.attribute("NAME").value()) return child;
  }
  return {};
}

std::string valueOf(const pugi::xml_node& node, const std::string& name) {
  return property(node, name).child("VALUE").text().get();
}

std::string keyOf(const pugi::xml_node& instanceName, const std::string& name) {
  return instanceName.find_child_by_attribute("KEYBINDING", "NAME", name.c_str())
      .child("KEYVALUE")
      .text()
      .get();
}

class EndpointTest : public testing::Test {
 protected:
  std::string portName(const std::string& device) const {
    return "<INSTANCENAME CLASSNAME=\"Orvane_EthernetPort\">" +
           key("SystemCreationClassName", "OMC_UnitaryComputerSystem") +
           key("SystemName", "host-7") + key("CreationClassName", kPort) + key("DeviceID", device) +
           "</INSTANCENAME>";
  }
  static std::string key(const std::string& name, const std::string& text) {
    return "<KEYBINDING NAME=\"" + name + "\"><KEYVALUE VALUETYPE=\"string\">" + text +
           "</KEYVALUE></KEYBINDING>";
  }
  std::string port() const { return parameter("ObjectName", portName("nic0")); }

  Reply getPort(const std::string& parameters = "") const {
    return served_.ask("GetInstance", parameters + parameter("InstanceName", portName("nic0")));
  }
  Reply enumerate(const std::string& className, const std::string& parameters = "") const {
    return served_.ask("EnumerateInstances", classParameter("ClassName", className) + parameters);
  }
  static pugi::xml_node firstInstance(const Reply& reply) {
    return reply.value().first_child().child("INSTANCE");
  }
  std::set<std::string> classesOf(const Reply& reply, const char* element) const {
    std::set<std::string> classes;
    for (const pugi::xml_node child : reply.value().children()) {
      EXPECT_STREQ(child.name(), element);
      const pugi::xml_node path = child.child("INSTANCEPATH");
      EXPECT_STREQ(path.child("NAMESPACEPATH").child("HOST").text().get(), "serving-host");
      classes.insert(path.child("INSTANCENAME").attribute("CLASSNAME").value());
    }
    return classes;
  }

  ServedLibrary served_;
};

// ---- Instances ----

TEST_F(EndpointTest, AnAnswerRepeatsMessageIdAndMethod) {
  const Reply reply = served_.ask("enumerateinstancenames", classParameter("classname", kPort));
  EXPECT_EQ(reply.httpStatus, 200);
  EXPECT_EQ(reply.messageId(), "4711");
  EXPECT_STREQ(reply.response().name(), "IMETHODRESPONSE");
  EXPECT_STREQ(reply.response().attribute("NAME").value(), "enumerateinstancenames");
  EXPECT_EQ(reply.count(), 2U);
}

TEST_F(EndpointTest, EnumerateInstanceNamesGivesTheKeys) {
  const Reply reply = served_.ask("EnumerateInstanceNames", classParameter("ClassName", kPort));
  ASSERT_EQ(reply.count(), 2U);
  const pugi::xml_node name = reply.value().child("INSTANCENAME");
  EXPECT_STREQ(name.attribute("CLASSNAME").value(), kPort);
  EXPECT_EQ(keyOf(name, "DeviceID"), "nic0");
  EXPECT_EQ(keyOf(name, "SystemName"), "host-7");
  EXPECT_STREQ(name.child("KEYBINDING").child("KEYVALUE").attribute("VALUETYPE").value(), "string");
}

TEST_F(EndpointTest, AParentClassGivesTheInstancesOfItsLeaves) {
  const Reply reply =
      served_.ask("EnumerateInstanceNames", classParameter("ClassName", "CIM_IPProtocolEndpoint"));
  std::set<std::string> classes;
  for (const pugi::xml_node name : reply.value().children()) {
    classes.insert(name.attribute("CLASSNAME").value());
  }
  EXPECT_THAT(classes, UnorderedElementsAre("Orvane_KernelIPv4ProtocolEndpoint",
                                            "Orvane_KernelIPv6ProtocolEndpoint"));
}

TEST_F(EndpointTest, EnumerateInstancesGivesNamesAndTypedProperties) {
  const Reply reply = enumerate(kPort);
  ASSERT_EQ(reply.count(), 2U);
  const pugi::xml_node named = reply.value().first_child();
  EXPECT_STREQ(named.name(), "VALUE.NAMEDINSTANCE");
  EXPECT_EQ(keyOf(named.child("INSTANCENAME"), "DeviceID"), "nic0");
  const pugi::xml_node instance = named.child("INSTANCE");
  EXPECT_EQ(valueOf(instance, "Speed"), "10000000000");
  EXPECT_STREQ(property(instance, "Speed").attribute("TYPE").value(), "uint64");
  EXPECT_EQ(valueOf(instance, "FullDuplex"), "TRUE");
  EXPECT_STREQ(property(instance, "OperationalStatus").name(), "PROPERTY.ARRAY");
  EXPECT_STREQ(property(instance, "Speed").attribute("CLASSORIGIN").value(), "");
}

TEST_F(EndpointTest, AHostWithoutObjectsAnswersAnEmptyReturnValue) {
  const Reply reply = enumerate("Orvane_LatchedHealthState");
  EXPECT_EQ(reply.code(), 0);
  EXPECT_TRUE(reply.value());
  EXPECT_EQ(reply.count(), 0U);
}

TEST_F(EndpointTest, APropertyListNarrowsTheInstances) {
  const Reply reply = enumerate(kPort, listParameter("PropertyList", {"speed", "DeviceID"}));
  EXPECT_THAT(propertyNames(firstInstance(reply)), UnorderedElementsAre("Speed", "DeviceID"));
  EXPECT_EQ(keyOf(reply.value().first_child().child("INSTANCENAME"), "SystemName"), "host-7");
}

TEST_F(EndpointTest, APropertyListWithoutValueMeansAllProperties) {
  const std::size_t all = propertyNames(firstInstance(enumerate(kPort))).size();
  EXPECT_THAT(propertyNames(firstInstance(enumerate(kPort, parameter("PropertyList", "")))),
              SizeIs(all));
}

TEST_F(EndpointTest, AnEmptyPropertyListMeansNoProperties) {
  const Reply reply = enumerate(kPort, listParameter("PropertyList", {}));
  EXPECT_EQ(reply.count(), 2U);
  EXPECT_THAT(propertyNames(firstInstance(reply)), IsEmpty());
}

TEST_F(EndpointTest, AnUnknownNameInAPropertyListIsPassedOver) {
  EXPECT_THAT(propertyNames(firstInstance(
                  enumerate(kPort, listParameter("PropertyList", {"Nothing", "MTU"})))),
              Not(Contains("Nothing")));
}

TEST_F(EndpointTest, LocalOnlyLeavesWhatTheClassItselfDeclaresOrOverrides) {
  const auto local =
      propertyNames(firstInstance(enumerate(kPort, valueParameter("LocalOnly", "TRUE"))));
  EXPECT_THAT(local, Contains("AutoSense"));  // redeclared in the class
  EXPECT_THAT(local, Not(Contains("HealthState")));
  EXPECT_THAT(propertyNames(firstInstance(enumerate(kPort, valueParameter("LocalOnly", "FALSE")))),
              Contains("HealthState"));
}

TEST_F(EndpointTest, WithoutDeepInheritanceOnlyTheRequestedClassesPropertiesCome) {
  const Reply flat = enumerate("CIM_NetworkPort", valueParameter("DeepInheritance", "FALSE"));
  ASSERT_EQ(flat.count(), 2U);
  EXPECT_THAT(propertyNames(firstInstance(flat)), Contains("Speed"));
  EXPECT_THAT(propertyNames(firstInstance(flat)), Contains("AutoSense"));
  EXPECT_THAT(propertyNames(firstInstance(flat)), Not(Contains("SupportedPorts")));
  for (const std::string& parameters : {std::string(), valueParameter("DeepInheritance", "TRUE")}) {
    EXPECT_THAT(propertyNames(firstInstance(enumerate("CIM_NetworkPort", parameters))),
                Contains("SupportedPorts"));
  }
}

TEST_F(EndpointTest, IncludeClassOriginTellsWhereAPropertyComesFrom) {
  const Reply reply = enumerate(kPort, valueParameter("IncludeClassOrigin", "TRUE"));
  const pugi::xml_node instance = firstInstance(reply);
  EXPECT_STREQ(property(instance, "Speed").attribute("CLASSORIGIN").value(), "CIM_LogicalPort");
}

TEST_F(EndpointTest, GetInstanceGivesTheInstanceAlone) {
  const Reply reply = getPort();
  ASSERT_EQ(reply.count(), 1U);
  EXPECT_EQ(childName(reply.value()), "INSTANCE");
  EXPECT_EQ(valueOf(reply.value().child("INSTANCE"), "DeviceID"), "nic0");
}

TEST_F(EndpointTest, GetInstanceTakesItsParameters) {
  EXPECT_THAT(
      propertyNames(getPort(listParameter("PropertyList", {"Speed"})).value().first_child()),
      ElementsAre("Speed"));
  EXPECT_THAT(propertyNames(getPort(valueParameter("LocalOnly", "true")).value().first_child()),
              Not(Contains("HealthState")));
  const Reply origin = getPort(valueParameter("includeclassorigin", "TRUE"));
  EXPECT_STREQ(property(origin.value().first_child(), "Speed").attribute("CLASSORIGIN").value(),
               "CIM_LogicalPort");
}

TEST_F(EndpointTest, GetInstanceOfAnAssociationTakesReferencesAsTheEndpointGivesThem) {
  const std::string name = served_.firstName("Orvane_EPStatistics");
  ASSERT_THAT(name, HasSubstr("LOCALINSTANCEPATH"));
  const Reply reply = served_.ask("GetInstance", parameter("InstanceName", name));
  ASSERT_EQ(reply.code(), 0) << reply.description();
  const pugi::xml_node element = property(reply.value().first_child(), "Element");
  EXPECT_STREQ(element.name(), "PROPERTY.REFERENCE");
  EXPECT_TRUE(element.child("VALUE.REFERENCE").child("LOCALINSTANCEPATH"));
}

TEST_F(EndpointTest, EveryServedClassGivesTheInstancesThatItNames) {
  for (const char* served :
       {"Orvane_EthernetPort", "Orvane_EPDriverSoftwareIdentity", "Orvane_EPStatisticalInformation",
        "Orvane_EPCoalesceSettingData", "Orvane_EPStatistics", "Orvane_KernelIPv4ProtocolEndpoint",
        "Orvane_KernelIPv6ProtocolEndpoint", "Orvane_RollupHealthState",
        "Orvane_HypervisorSoftwareIdentity", "Orvane_InstalledSoftwareIdentity",
        "Orvane_Processor"}) {
    const Reply names = served_.ask("EnumerateInstanceNames", classParameter("ClassName", served));
    EXPECT_GT(names.count(), 0U) << served;
    EXPECT_EQ(enumerate(served).count(), names.count()) << served;
  }
}

// ---- Associations ----

TEST_F(EndpointTest, AssociatorsGivesPathsAndInstances) {
  const Reply reply = served_.ask("Associators", port());
  EXPECT_THAT(classesOf(reply, "VALUE.OBJECTWITHPATH"),
              IsSupersetOf({"Orvane_EPDriverSoftwareIdentity", "Orvane_EPFirmwareSoftwareIdentity",
                            "Orvane_EPStatisticalInformation", "Orvane_EPCoalesceSettingData"}));
  EXPECT_TRUE(property(firstInstance(reply), "InstanceID"));
}

TEST_F(EndpointTest, AssociatorNamesGivesPaths) {
  const auto instances = classesOf(served_.ask("Associators", port()), "VALUE.OBJECTWITHPATH");
  EXPECT_THAT(classesOf(served_.ask("AssociatorNames", port()), "OBJECTPATH"),
              UnorderedElementsAreArray(instances));
}

TEST_F(EndpointTest, ReferencesGivesTheAssociations) {
  const auto classes = classesOf(served_.ask("References", port()), "VALUE.OBJECTWITHPATH");
  EXPECT_THAT(classes,
              IsSupersetOf({"Orvane_EPDriverElementSoftwareIdentity",
                            "Orvane_EPFirmwareElementSoftwareIdentity", "Orvane_EPStatistics",
                            "Orvane_EPCoalesceElementSettingData"}));
  EXPECT_THAT(classesOf(served_.ask("ReferenceNames", port()), "OBJECTPATH"),
              UnorderedElementsAreArray(classes));
}

TEST_F(EndpointTest, AssociationFiltersReachTheProvider) {
  const auto names = [&](const std::string& parameters) {
    return classesOf(served_.ask("AssociatorNames", port() + parameters), "OBJECTPATH");
  };
  EXPECT_THAT(names(classParameter("AssocClass", "Orvane_EPStatistics")),
              ElementsAre("Orvane_EPStatisticalInformation"));
  const auto settingsOnly = AllOf(Contains("Orvane_EPCoalesceSettingData"),
                                  Not(Contains("Orvane_EPStatisticalInformation")));
  EXPECT_THAT(names(classParameter("ResultClass", "CIM_SettingData")), settingsOnly);
  EXPECT_THAT(names(valueParameter("Role", "Element")),
              ElementsAre("Orvane_EPStatisticalInformation"));
  EXPECT_THAT(names(valueParameter("ResultRole", "SettingData")), settingsOnly);
  EXPECT_THAT(names(valueParameter("Role", "Nothing")), IsEmpty());
  EXPECT_THAT(classesOf(served_.ask("ReferenceNames",
                                    port() + classParameter("ResultClass", "Orvane_EPStatistics")),
                        "OBJECTPATH"),
              ElementsAre("Orvane_EPStatistics"));
  EXPECT_THAT(classesOf(served_.ask("References", port() + valueParameter("Role", "Element")),
                        "VALUE.OBJECTWITHPATH"),
              ElementsAre("Orvane_EPStatistics"));
}

TEST_F(EndpointTest, AssociationsTakePropertyListAndClassOrigin) {
  const std::string wanted = classParameter("AssocClass", "Orvane_EPStatistics") +
                             listParameter("PropertyList", {"InstanceID"}) +
                             valueParameter("IncludeClassOrigin", "TRUE");
  const Reply reply = served_.ask("Associators", port() + wanted);
  EXPECT_THAT(propertyNames(firstInstance(reply)), ElementsAre("InstanceID"));
  EXPECT_STRNE(property(firstInstance(reply), "InstanceID").attribute("CLASSORIGIN").value(), "");
  const Reply references =
      served_.ask("References", port() + listParameter("PropertyList", {"Stats"}) +
                                    classParameter("ResultClass", "Orvane_EPStatistics"));
  EXPECT_THAT(propertyNames(firstInstance(references)), ElementsAre("Stats"));
}

TEST_F(EndpointTest, AStrangersObjectHasNoAssociations) {
  const std::string stranger =
      parameter("ObjectName", "<INSTANCENAME CLASSNAME=\"Orvane_Processor\">" +
                                  key("DeviceID", "x") + "</INSTANCENAME>");
  const Reply reply = served_.ask("ReferenceNames", stranger);
  EXPECT_EQ(reply.code(), 0);
  EXPECT_EQ(reply.count(), 0U);
}

// ---- Classes ----

TEST_F(EndpointTest, GetClassGivesQualifiersByDefaultAndOwnFeaturesOnly) {
  const Reply reply = served_.ask("GetClass", classParameter("ClassName", kPort));
  const pugi::xml_node definition = reply.value().child("CLASS");
  EXPECT_STREQ(definition.attribute("NAME").value(), kPort);
  EXPECT_STREQ(definition.attribute("SUPERCLASS").value(), "CIM_EthernetPort");
  EXPECT_TRUE(definition.find_child_by_attribute("QUALIFIER", "NAME", "Description"));
  EXPECT_THAT(propertyNames(definition), Contains("AutoSense"));
  EXPECT_THAT(propertyNames(definition), Not(Contains("HealthState")));
}

TEST_F(EndpointTest, GetClassTakesItsParameters) {
  const auto definition = [&](const std::string& parameters) {
    const Reply reply = served_.ask("GetClass", classParameter("ClassName", kPort) + parameters);
    return std::make_pair(reply.document, reply.value().child("CLASS"));
  };
  const auto whole = definition(valueParameter("LocalOnly", "FALSE") +
                                valueParameter("IncludeQualifiers", "FALSE") +
                                valueParameter("IncludeClassOrigin", "TRUE"));
  const pugi::xml_node speed = property(whole.second, "Speed");
  ASSERT_TRUE(speed);
  EXPECT_STREQ(speed.attribute("TYPE").value(), "uint64");
  EXPECT_STREQ(speed.attribute("CLASSORIGIN").value(), "CIM_LogicalPort");
  const pugi::xml_node inherited = property(whole.second, "HealthState");
  EXPECT_STREQ(inherited.attribute("PROPAGATED").value(), "true");
  EXPECT_FALSE(property(whole.second, "AutoSense").attribute("PROPAGATED"));
  EXPECT_FALSE(whole.second.child("QUALIFIER"));
  EXPECT_FALSE(speed.child("QUALIFIER"));
  const auto listed = definition(valueParameter("LocalOnly", "FALSE") +
                                 listParameter("PropertyList", {"DeviceID"}));
  EXPECT_THAT(propertyNames(listed.second), ElementsAre("DeviceID"));
  EXPECT_TRUE(
      property(listed.second, "DeviceID").find_child_by_attribute("QUALIFIER", "NAME", "Key"));
}

TEST_F(EndpointTest, AnAssociationClassDeclaresItsReferences) {
  const Reply reply = served_.ask("GetClass", classParameter("ClassName", "Orvane_EPStatistics") +
                                                  valueParameter("LocalOnly", "FALSE"));
  const pugi::xml_node stats = property(reply.value().child("CLASS"), "Stats");
  EXPECT_STREQ(stats.name(), "PROPERTY.REFERENCE");
  EXPECT_STRNE(stats.attribute("REFERENCECLASS").value(), "");
}

TEST_F(EndpointTest, EnumerateClassNamesWithoutAClassGivesTheRoots) {
  const Reply roots = served_.ask("EnumerateClassNames");
  std::vector<std::string> names;
  for (const pugi::xml_node name : roots.value().children("CLASSNAME")) {
    names.emplace_back(name.attribute("NAME").value());
  }
  EXPECT_THAT(names, Contains("CIM_ManagedElement"));
  EXPECT_THAT(names, Not(Contains(kPort)));
  const Reply all = served_.ask("EnumerateClassNames", valueParameter("DeepInheritance", "TRUE"));
  EXPECT_THAT(all.body, HasSubstr("<CLASSNAME NAME=\"Orvane_EthernetPort\">"));
}

TEST_F(EndpointTest, EnumerateClassNamesOfAClassGivesItsSubclassesWithoutItself) {
  const std::string parent = classParameter("ClassName", "CIM_ProcessIndication");
  const Reply reply = served_.ask("EnumerateClassNames", parent);
  EXPECT_EQ(reply.count(), 3U) << reply.body;  // alerts, the heartbeat, and the test's own
  EXPECT_THAT(reply.body, HasSubstr("Orvane_CIMHeartbeat"));
  EXPECT_THAT(reply.body, Not(HasSubstr("NAME=\"CIM_ProcessIndication\"")));
  const std::string top = classParameter("ClassName", "CIM_Indication");
  EXPECT_THAT(served_.ask("EnumerateClassNames", top).body, Not(HasSubstr("Orvane_CIMHeartbeat")));
  EXPECT_THAT(
      served_.ask("EnumerateClassNames", top + valueParameter("DeepInheritance", "TRUE")).body,
      HasSubstr("Orvane_CIMHeartbeat"));
}

TEST_F(EndpointTest, EnumerateClassesGivesDefinitions) {
  const std::string parent = classParameter("ClassName", "CIM_EthernetPort");
  const Reply reply = served_.ask("EnumerateClasses", parent);
  ASSERT_EQ(reply.count(), 1U);
  const pugi::xml_node definition = reply.value().child("CLASS");
  EXPECT_STREQ(definition.attribute("NAME").value(), kPort);
  EXPECT_TRUE(definition.child("QUALIFIER"));
  EXPECT_THAT(propertyNames(definition), Not(Contains("HealthState")));
  const Reply bare =
      served_.ask("EnumerateClasses", parent + valueParameter("LocalOnly", "FALSE") +
                                          valueParameter("IncludeQualifiers", "FALSE") +
                                          valueParameter("IncludeClassOrigin", "TRUE"));
  EXPECT_FALSE(bare.value().child("CLASS").child("QUALIFIER"));
  const pugi::xml_node speed = property(bare.value().child("CLASS"), "Speed");
  EXPECT_STREQ(speed.attribute("CLASSORIGIN").value(), "CIM_LogicalPort");
}

TEST_F(EndpointTest, QualifiersAreDeclared) {
  const Reply key = served_.ask("GetQualifier", valueParameter("QualifierName", "key"));
  ASSERT_EQ(key.code(), 0) << key.body;
  const pugi::xml_node declaration = key.value().child("QUALIFIER.DECLARATION");
  EXPECT_STREQ(declaration.attribute("NAME").value(), "Key");
  EXPECT_STREQ(declaration.attribute("TYPE").value(), "boolean");
  EXPECT_STREQ(declaration.attribute("ISARRAY").value(), "false");
  EXPECT_STREQ(declaration.attribute("OVERRIDABLE").value(), "false");
  EXPECT_STREQ(declaration.child("SCOPE").attribute("PROPERTY").value(), "true");
  EXPECT_FALSE(declaration.child("SCOPE").attribute("METHOD"));
  EXPECT_STREQ(declaration.child("VALUE").text().get(), "FALSE");
  const Reply all = served_.ask("EnumerateQualifiers");
  EXPECT_GT(all.count(), 10U);
  EXPECT_THAT(all.body, HasSubstr("<QUALIFIER.DECLARATION NAME=\"ValueMap\" TYPE=\"string\" "
                                  "ISARRAY=\"true\""));
  EXPECT_EQ(served_.ask("GetQualifier", valueParameter("QualifierName", "None")).code(), 6);
  EXPECT_EQ(served_.ask("GetQualifier").code(), 4);
}

// ---- CIM errors ----

TEST_F(EndpointTest, AnUnknownNamespaceIsToldForEveryOperation) {
  for (const char* method : {"EnumerateInstanceNames", "GetInstance", "Associators", "GetClass",
                             "EnumerateClassNames", "CreateInstance", "Unheard"}) {
    const Reply reply = served_.ask(method, "", "root/nothing");
    EXPECT_EQ(reply.httpStatus, 200) << method;
    EXPECT_EQ(reply.code(), 3) << method;
    EXPECT_EQ(reply.description(), "Invalid namespace") << method;
    EXPECT_FALSE(reply.value()) << method;
  }
}

TEST_F(EndpointTest, AnUnknownClassIsTold) {
  const std::string unknown = classParameter("ClassName", "Orvane_Nothing");
  for (const char* method : {"EnumerateInstanceNames", "EnumerateInstances", "EnumerateClasses",
                             "EnumerateClassNames", "OpenEnumerateInstances"}) {
    EXPECT_EQ(served_.ask(method, unknown).code(), 5) << method;
  }
  EXPECT_EQ(served_.ask("GetClass", unknown).code(), 6);  // it is the object that is asked for
  const std::string name = "<INSTANCENAME CLASSNAME=\"Orvane_Nothing\"/>";
  EXPECT_EQ(served_.ask("GetInstance", parameter("InstanceName", name)).code(), 5);
  EXPECT_EQ(served_.ask("References", parameter("ObjectName", name)).code(), 5);
}

TEST_F(EndpointTest, AMissingParameterIsTold) {
  for (const char* method : {"EnumerateInstanceNames", "EnumerateInstances", "GetInstance",
                             "Associators", "AssociatorNames", "References", "ReferenceNames",
                             "GetClass", "CreateInstance", "ModifyInstance", "DeleteInstance"}) {
    const Reply reply = served_.ask(method);
    EXPECT_EQ(reply.code(), 4) << method;
    EXPECT_THAT(reply.description(), HasSubstr("is missing")) << method;
  }
}

TEST_F(EndpointTest, AParameterOfAnotherKindIsAMissingOne) {
  EXPECT_EQ(served_.ask("GetInstance", classParameter("InstanceName", kPort)).code(), 4);
  EXPECT_EQ(served_.ask("EnumerateInstances", parameter("ClassName", portName("nic0"))).code(), 4);
}

TEST_F(EndpointTest, AParameterThatMakesNoSenseIsToldUnderTheMessagesId) {
  for (const std::string& wrong :
       {valueParameter("LocalOnly", "MAYBE"), valueParameter("DeepInheritance", "1"),
        parameter("LocalOnly", "<METHOD/>"),
        parameter("ObjectName",
                  "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"N\"><KEYVALUE "
                  "VALUETYPE=\"numeric\">x</KEYVALUE></KEYBINDING></INSTANCENAME>")}) {
    const Reply reply = enumerate(kPort, wrong);
    EXPECT_EQ(reply.httpStatus, 200) << wrong;
    EXPECT_EQ(reply.code(), 4) << wrong;
    EXPECT_EQ(reply.messageId(), "4711") << wrong;
    EXPECT_STREQ(reply.response().attribute("NAME").value(), "EnumerateInstances") << wrong;
  }
}

TEST_F(EndpointTest, OperationsThatAreNotServedAreNotSupported) {
  for (const char* method :
       {"CreateClass", "ModifyClass", "DeleteClass", "GetProperty", "SetProperty", "SetQualifier",
        "DeleteQualifier", "EnumerationCount", "Unheard"}) {
    const Reply reply = served_.ask(method);
    EXPECT_EQ(reply.code(), 7) << method;
    EXPECT_EQ(reply.description(), std::string(method) + " is not supported");
  }
}

TEST_F(EndpointTest, ExtrinsicMethodsAreNotFound) {
  const std::string local =
      "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
      "</LOCALNAMESPACEPATH>";
  for (const std::string& object :
       {"<LOCALINSTANCEPATH>" + local + portName("nic0") + "</LOCALINSTANCEPATH>",
        "<LOCALCLASSPATH>" + local +
            "<CLASSNAME NAME=\"Orvane_EthernetPort\"/></LOCALCLASSPATH>"}) {
    const Reply reply = served_.post(
        "<CIM><MESSAGE ID=\"8\"><SIMPLEREQ><METHODCALL NAME=\"Reset\">" + object +
        "<PARAMVALUE NAME=\"Hard\"><VALUE>TRUE</VALUE></PARAMVALUE></METHODCALL></SIMPLEREQ>"
        "</MESSAGE></CIM>");
    EXPECT_EQ(reply.httpStatus, 200);
    EXPECT_STREQ(reply.response().name(), "METHODRESPONSE");
    EXPECT_STREQ(reply.response().attribute("NAME").value(), "Reset");
    EXPECT_EQ(reply.code(), 17);
    EXPECT_EQ(reply.messageId(), "8");
  }
}

TEST_F(EndpointTest, WritingProviderInstancesIsNotSupported) {
  const std::string instance =
      "<INSTANCE CLASSNAME=\"Orvane_EthernetPort\"><PROPERTY NAME=\"DeviceID\" TYPE=\"string\">"
      "<VALUE>nic7</VALUE></PROPERTY></INSTANCE>";
  EXPECT_EQ(served_.ask("CreateInstance", parameter("NewInstance", instance)).code(), 7);
  EXPECT_EQ(served_
                .ask("ModifyInstance",
                     parameter("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + portName("nic0") +
                                                       instance + "</VALUE.NAMEDINSTANCE>"))
                .code(),
            7);
  EXPECT_EQ(served_.ask("DeleteInstance", parameter("InstanceName", portName("nic0"))).code(), 7);
  EXPECT_EQ(getPort().code(), 0);
}

TEST_F(EndpointTest, TheProvidersTextIsPassedOn) {
  const std::string foreign = "<INSTANCENAME CLASSNAME=\"Orvane_EthernetPort\">" +
                              key("SystemName", "x") + "</INSTANCENAME>";
  const Reply notFound = served_.ask("GetInstance", parameter("InstanceName", foreign));
  EXPECT_EQ(notFound.code(), 6);
  EXPECT_EQ(notFound.description(), "Specified DeviceID is not found");
  const std::string broken =
      "<INSTANCENAME CLASSNAME=\"Orvane_EPStatistics\">" + key("Stats", "x") + "</INSTANCENAME>";
  const Reply invalid = served_.ask("GetInstance", parameter("InstanceName", broken));
  EXPECT_EQ(invalid.code(), 4);
  EXPECT_EQ(invalid.description(), "DeviceID specified is not valid");
}

TEST_F(EndpointTest, AnInstanceThatIsNotThereIsNotFound) {
  const Reply reply = served_.ask("GetInstance", parameter("InstanceName", portName("nic9")));
  EXPECT_EQ(reply.code(), 6);
  EXPECT_THAT(reply.description(), Not(IsEmpty()));
}

TEST(EndpointOnAFailingHost, AFailureOfOneClassIsToldAndHarmsNoOther) {
  const ServedLibrary served({}, R"({"ports": {"throw": "nodemgr"}})");
  const Reply ports = served.ask("EnumerateInstances", classParameter("ClassName", kPort));
  EXPECT_EQ(ports.code(), 1);
  EXPECT_EQ(ports.description(), "Failed to get pnics information");
  const std::string processor = classParameter("ClassName", "Orvane_Processor");
  EXPECT_EQ(served.ask("EnumerateInstances", processor).code(), 0);
}

// ---- Messages that are not requests ----

TEST_F(EndpointTest, MalformedMessagesAreHttpErrorsThatSayWhy) {
  const std::pair<std::string, std::string> rows[] = {
      {"", "request-not-well-formed"},
      {"hello", "request-not-well-formed"},
      {"<CIM><MESSAGE", "request-not-well-formed"},
      {"<CIM></MESSAGE>", "request-not-well-formed"},
      {"<HTML></HTML>", "request-not-valid"},
      {"<CIM><MESSAGE ID=\"1\"><SIMPLERSP/></MESSAGE></CIM>", "request-not-valid"},
      {"<CIM><MESSAGE ID=\"1\"><MULTIREQ/></MESSAGE></CIM>", "multiple-requests-unsupported"},
  };
  for (const auto& [body, why] : rows) {
    const Reply reply = served_.post(body);
    EXPECT_EQ(reply.httpStatus, 400) << body;
    EXPECT_EQ(reply.cimError, why) << body;
    EXPECT_EQ(reply.cimOperation, "") << body;
  }
  EXPECT_EQ(getPort().cimOperation, "MethodResponse");
  EXPECT_EQ(getPort().code(), 0);
}

TEST_F(EndpointTest, DeepNestingIsRefused) {
  std::string deep;
  for (int i = 0; i < 50'000; ++i) deep += "<A>";
  for (int i = 0; i < 50'000; ++i) deep += "</A>";
  const Reply reply = served_.ask("GetClass", deep);
  EXPECT_EQ(reply.httpStatus, 400);
  EXPECT_EQ(reply.cimError, "request-not-valid");
  EXPECT_EQ(getPort().code(), 0);
}

TEST_F(EndpointTest, EntitiesOfTheMessageAreNotExpanded) {
  const Reply reply = served_.post(
      "<?xml version=\"1.0\"?><!DOCTYPE CIM [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b "
      "\"&a;&a;&a;\">]>" +
      requestMessage("&b;", "root/cimv2", "").substr(38));
  EXPECT_EQ(reply.code(), 7) << reply.body;
  EXPECT_EQ(reply.description(), "&b; is not supported");
}

TEST(EndpointLimits, AnOversizedBodyIsRefusedAndTheNextRequestServed) {
  const ServedLibrary served;
  const std::string huge(serve::HttpLimits().bodyBytes * 4, ' ');
  EXPECT_EQ(served.post(huge).httpStatus, 413);
  EXPECT_EQ(served.ask("EnumerateInstanceNames", classParameter("ClassName", kPort)).count(), 2U);
}

TEST_F(EndpointTest, TextsThatXmlReservesSurviveBothWays) {
  const Reply reply =
      served_.ask("GetInstance", parameter("InstanceName", portName("a&amp;b&lt;c&gt;&quot;")));
  EXPECT_EQ(reply.code(), 6);
  const Reply unknown = served_.ask("a&lt;b&gt;&amp;&quot;");
  EXPECT_EQ(unknown.description(), "a<b>&\" is not supported");
}

}  // namespace
}  // namespace orv::test
