#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pugixml.hpp>
#include <string>

#include "cimxml/element_reader.h"
#include "cimxml/export_message.h"
#include "cimxml/response_writer.h"

namespace orv::cimxml {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using testing::HasSubstr;
using testing::Not;

Call aCall(const std::string& method = "GetInstance") {
  Call call;
  call.messageId = "12";
  call.method = method;
  call.nameSpace = "root/cimv2";
  return call;
}

ObjectPath path(const std::string& className = "C") {
  ObjectPath result;
  result.nameSpace = "root/cimv2";
  result.className = className;
  return result;
}

Instance withProperty(const std::string& name, Value value) {
  Instance instance;
  instance.path = path();
  instance.properties.push_back({name, std::move(value)});
  return instance;
}

std::string written(const Instance& instance) {
  ResponseWriter writer(aCall(), {});
  writer.instance(instance);
  return writer.finish();
}

TEST(CimXmlWriter, AnAnswerCarriesTheRequestsIdAndMethod) {
  ResponseWriter writer(aCall("EnumerateClassNames"), {});
  writer.className("Orvane_Processor");
  EXPECT_EQ(writer.finish(),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
            "<MESSAGE ID=\"12\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP>"
            "<IMETHODRESPONSE NAME=\"EnumerateClassNames\"><IRETURNVALUE>"
            "<CLASSNAME "
            "NAME=\"Orvane_Processor\"></CLASSNAME></IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>"
            "</MESSAGE></CIM>");
}

TEST(CimXmlWriter, AFailureReplacesTheReturnValue) {
  ResponseWriter writer(aCall(), {});
  writer.className("C");
  const std::string text = writer.finish(CimError(CMPI_RC_ERR_NOT_FOUND, "a < b"));
  EXPECT_THAT(text, HasSubstr("<ERROR CODE=\"6\" DESCRIPTION=\"a &lt; b\"></ERROR>"));
  EXPECT_THAT(text, Not(HasSubstr("IRETURNVALUE")));
}

TEST(CimXmlWriter, ValuesCarryTheirTypes) {
  EXPECT_THAT(written(withProperty("P", Value::ofUnsigned(CMPI_uint64, 6442450944))),
              HasSubstr("<PROPERTY NAME=\"P\" TYPE=\"uint64\"><VALUE>6442450944</VALUE>"));
  EXPECT_THAT(written(withProperty("P", Value::ofBoolean(false))),
              HasSubstr("TYPE=\"boolean\"><VALUE>FALSE</VALUE>"));
  EXPECT_THAT(written(withProperty("P", Value::ofSigned(CMPI_sint32, -3))),
              HasSubstr("TYPE=\"sint32\"><VALUE>-3</VALUE>"));
  EXPECT_THAT(written(withProperty("P", Value::ofNull(CMPI_string))),
              HasSubstr("<PROPERTY NAME=\"P\" TYPE=\"string\"></PROPERTY>"));
  broker::DateTime time{"20201004000000.000000+000", 0, false};
  EXPECT_THAT(written(withProperty("P", Value::ofDateTime(time))),
              HasSubstr("TYPE=\"datetime\"><VALUE>20201004000000.000000+000</VALUE>"));
}

TEST(CimXmlWriter, NullElementsOfAnArrayAreLeftOutForClientsThatStopAtThem) {
  const Value array =
      Value::ofArray(CMPI_uint16, {Value::ofNull(CMPI_uint16), Value::ofUnsigned(CMPI_uint16, 4)});
  EXPECT_THAT(written(withProperty("P", array)),
              HasSubstr("<PROPERTY.ARRAY NAME=\"P\" TYPE=\"uint16\"><VALUE.ARRAY>"
                        "<VALUE>4</VALUE></VALUE.ARRAY>"));
  EXPECT_THAT(written(withProperty("P", Value::ofArray(CMPI_string, {}))),
              HasSubstr("TYPE=\"string\"><VALUE.ARRAY></VALUE.ARRAY></PROPERTY.ARRAY>"));
}

TEST(CimXmlWriter, ALeadingSlashOfANamespaceIsKept) {
  ObjectPath target = path("S");
  target.nameSpace = "/root/cimv2";
  EXPECT_THAT(written(withProperty("P", Value::ofReference(target))),
              HasSubstr("<LOCALNAMESPACEPATH><NAMESPACE NAME=\"\"></NAMESPACE><NAMESPACE "
                        "NAME=\"root\"></NAMESPACE>"
                        "<NAMESPACE NAME=\"cimv2\"></NAMESPACE></LOCALNAMESPACEPATH>"));
}

TEST(CimXmlWriter, WhatIsWrittenIsReadBack) {
  Instance inner = withProperty("IPv4Address", Value::ofString("10.0.0.7"));
  ObjectPath target = path("T");
  target.keys.push_back({"Name", Value::ofString("x \"y\" <z>")});
  target.keys.push_back({"N", Value::ofUnsigned(CMPI_uint64, 5)});
  Instance instance = withProperty("Text", Value::ofString("a & b\n<c>"));
  instance.properties.push_back({"Ref", Value::ofReference(target)});
  instance.properties.push_back({"Inner", Value::ofInstance(inner)});

  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(written(instance).c_str()));
  std::ostringstream text;
  document.select_node("//INSTANCE").node().print(text, "", pugi::format_raw);
  const Instance read = readInstanceText(text.str());
  EXPECT_EQ(read.property("Text")->text(), "a & b\n<c>");
  EXPECT_EQ(read.property("Ref")->reference(), target);
  EXPECT_EQ(read.property("Inner")->instance().property("IPv4Address")->text(), "10.0.0.7");
}

TEST(CimXmlWriter, AnEmbeddedInstanceIsMarked) {
  const Instance inner = withProperty("A", Value::ofBoolean(true));
  EXPECT_THAT(written(withProperty("P", Value::ofInstance(inner))),
              HasSubstr("<PROPERTY NAME=\"P\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>"
                        "&lt;INSTANCE CLASSNAME=\"C\""));
}

TEST(CimXmlWriter, PathsOfObjectsNameAHost) {
  WriteOptions options;
  options.host = "host-7";
  ResponseWriter writer(aCall("AssociatorNames"), options);
  writer.objectPath(path());
  EXPECT_THAT(writer.finish(), HasSubstr("<HOST>host-7</HOST>"));
}

TEST(CimXmlWriter, AnExportedIndicationIsAMethodCall) {
  const std::string text =
      exportMessage(withProperty("stamp", Value::ofUnsigned(CMPI_uint32, 0)), "1");
  EXPECT_THAT(text, HasSubstr("<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\">"
                              "<EXPPARAMVALUE NAME=\"NewIndication\"><INSTANCE CLASSNAME=\"C\">"));
}

TEST(CleanText, ReplacesWhatXmlCannotCarry) {
  EXPECT_EQ(cleanText("plain \t\n text"), "plain \t\n text");
  EXPECT_EQ(cleanText("h\xC3\xA9"), "h\xC3\xA9");
  EXPECT_EQ(cleanText("\x01"), "\xEF\xBF\xBD");
  EXPECT_EQ(cleanText("\xFF"), "\xEF\xBF\xBD");
  EXPECT_EQ(cleanText("\xC0\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // overlong
  EXPECT_EQ(cleanText("\xED\xA0\x80").size(), 9U);               // a surrogate
  EXPECT_EQ(cleanText("\xE2\x82"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // cut
  EXPECT_EQ(cleanText("\xF0\x9F\x98\x80"), "\xF0\x9F\x98\x80");
}

TEST(CimXmlWriter, TheDefaultOfACharacterIsTheCharacter) {
  broker::ClassDefinition definition;
  definition.name = "T";
  broker::PropertyDefinition letter;
  letter.name = "Letter";
  letter.type = CMPI_char16;
  letter.defaultValue = {"8364"};
  definition.properties.push_back(letter);
  letter.type = CMPI_char16A;
  letter.defaultValue = {"65", "66"};
  definition.properties.push_back(letter);
  ResponseWriter writer(aCall("GetClass"), {});
  writer.classDefinition(definition, {});
  const std::string text = writer.finish();
  EXPECT_THAT(text, HasSubstr("<VALUE>\xE2\x82\xAC</VALUE>"));
  EXPECT_THAT(text, HasSubstr("<VALUE.ARRAY><VALUE>A</VALUE><VALUE>B</VALUE></VALUE.ARRAY>"));
}

}  // namespace
}  // namespace orv::cimxml
