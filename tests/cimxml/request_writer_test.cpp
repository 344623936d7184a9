#include "cimxml/request_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cimxml/request_reader.h"

namespace orv::cimxml {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using testing::ElementsAre;
using testing::HasSubstr;

Call sample(const std::string& method) {
  Call call;
  call.messageId = "17";
  call.method = method;
  call.nameSpace = "root/cimv2";
  return call;
}

ObjectPath samplePath() {
  ObjectPath path;
  path.nameSpace = "root/cimv2";
  path.className = "T_Link";
  ObjectPath end;
  end.nameSpace = "root/cimv2";
  end.className = "T_Port";
  end.keys = {{"Id", Value::ofString("a\"<&>b")}};
  path.keys = {{"End", Value::ofReference(end)},
               {"Number", Value::ofUnsigned(CMPI_uint64, 7)},
               {"Sign", Value::ofSigned(CMPI_sint64, -7)},
               {"Flag", Value::ofBoolean(true)}};
  return path;
}

Call written(const Call& call) { return readCall(callMessage(call)); }

TEST(CimXmlRequestWriter, MethodNamespaceAndIdAreReadAgain) {
  const Call read = written(sample("EnumerateInstances"));
  EXPECT_EQ(read.messageId, "17");
  EXPECT_EQ(read.method, "EnumerateInstances");
  EXPECT_EQ(read.nameSpace, "root/cimv2");
  EXPECT_TRUE(read.intrinsic);
  EXPECT_FALSE(read.failure);
}

TEST(CimXmlRequestWriter, NamesOfClassesAreElementsOfTheirOwn) {
  Call call = sample("Associators");
  for (const char* name : {"ClassName", "AssocClass", "ResultClass"}) {
    call.parameters[name].text = "T_Port";
  }
  call.parameters["Role"].text = "Antecedent";
  const std::string text = callMessage(call);
  EXPECT_THAT(text, HasSubstr("<IPARAMVALUE NAME=\"AssocClass\"><CLASSNAME NAME=\"T_Port\">"));
  EXPECT_THAT(text, HasSubstr("<IPARAMVALUE NAME=\"Role\"><VALUE>Antecedent</VALUE>"));
  EXPECT_EQ(written(call).parameters.at("ResultClass").text, "T_Port");
  EXPECT_EQ(written(call).parameters.at("Role").text, "Antecedent");
}

TEST(CimXmlRequestWriter, PropertyListsAreReadAgain) {
  Call call = sample("GetInstance");
  call.parameters["PropertyList"].list = {"Name", "Speed"};
  EXPECT_THAT(*written(call).parameters.at("PropertyList").list, ElementsAre("Name", "Speed"));
  call.parameters["PropertyList"].list->clear();
  EXPECT_THAT(*written(call).parameters.at("PropertyList").list, ElementsAre());
}

TEST(CimXmlRequestWriter, PathsWithEveryKindOfKeyAreReadAgain) {
  Call call = sample("GetInstance");
  call.parameters["InstanceName"].objectName = samplePath();
  const ObjectPath read = *written(call).parameters.at("InstanceName").objectName;
  EXPECT_EQ(read.className, "T_Link");
  ASSERT_EQ(read.keys.size(), 4U);
  for (const broker::Key& key : samplePath().keys) EXPECT_EQ(*read.key(key.name), key.value);
}

TEST(CimXmlRequestWriter, NewInstancesComeAloneAndOthersWithTheirName) {
  Instance instance;
  instance.path.className = "T_Port";
  instance.properties = {
      {"Id", Value::ofString("x")},
      {"Since", Value::ofDateTime({"20261121024000.000000+000", 0, false})},
      {"Numbers", Value::ofArray(CMPI_uint16, {Value::ofUnsigned(CMPI_uint16, 5)})},
      {"Nothing", Value::ofNull(CMPI_uint32)},
      {"Link", Value::ofReference(samplePath())}};
  Call call = sample("CreateInstance");
  call.parameters["NewInstance"].instance = instance;
  EXPECT_THAT(callMessage(call), HasSubstr("<IPARAMVALUE NAME=\"NewInstance\"><INSTANCE "));
  const Instance read = *written(call).parameters.at("NewInstance").instance;
  ASSERT_EQ(read.properties.size(), instance.properties.size());
  for (const broker::Property& property : instance.properties) {
    EXPECT_EQ(read.property(property.name)->toText(), property.value.toText());
    EXPECT_EQ(read.property(property.name)->type, property.value.type) << property.name;
  }
  instance.path.keys = {{"Id", Value::ofString("x")}};
  call.parameters["NewInstance"].instance = instance;
  EXPECT_EQ(written(call).parameters.at("NewInstance").instance->path.keys.size(), 1U);
}

TEST(CimXmlRequestWriter, TextsCannotLeaveTheirElement) {
  Call call = sample("GetClass");
  call.parameters["ClassName"].text = "\"/></CIM>\x01";
  call.nameSpace = "root/\"><x>";
  const Call read = written(call);
  EXPECT_EQ(read.parameters.at("ClassName").text, "\"/></CIM>\xEF\xBF\xBD");
  EXPECT_EQ(read.nameSpace, "root/\"><x>");
}

}  // namespace
}  // namespace orv::cimxml
