#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "cimxml/request_reader.h"

namespace orv::cimxml {
namespace {

using broker::Value;
using testing::ElementsAre;
using testing::HasSubstr;

std::string message(const std::string& body, const std::string& id = "4711") {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
         "<MESSAGE ID=\"" +
         id + "\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>" + body + "</SIMPLEREQ></MESSAGE></CIM>";
}

std::string call(const std::string& method, const std::string& parameters) {
  return message("<IMETHODCALL NAME=\"" + method +
                 "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
                 "</LOCALNAMESPACEPATH>" +
                 parameters + "</IMETHODCALL>");
}

std::string parameter(const std::string& name, const std::string& value) {
  return "<IPARAMVALUE NAME=\"" + name + "\">" + value + "</IPARAMVALUE>";
}

std::string badMessage(const std::string& text) {
  try {
    readCall(text);
    return "read";
  } catch (const BadMessage& bad) {
    return bad.cimError();
  }
}

CMPIrc statusOf(const std::string& text) {
  const Call read = readCall(text);
  return read.failure ? read.failure->rc() : CMPI_RC_OK;
}

Value readProperty(const std::string& element) {
  const std::string instance = "<INSTANCE CLASSNAME=\"C\">" + element + "</INSTANCE>";
  const Call read = readCall(call("CreateInstance", parameter("NewInstance", instance)));
  return read.parameters.at("NewInstance").instance->properties.at(0).value;
}

TEST(CimXmlReader, ReadsMethodNamespaceAndMessageId) {
  const Call read = readCall(
      call("EnumerateInstances", parameter("ClassName", "<CLASSNAME NAME=\"Orvane_Processor\"/>")));
  EXPECT_TRUE(read.intrinsic);
  EXPECT_EQ(read.messageId, "4711");
  EXPECT_EQ(read.method, "EnumerateInstances");
  EXPECT_EQ(read.nameSpace, "root/cimv2");
  EXPECT_EQ(read.parameters.at("ClassName").text, "Orvane_Processor");
}

TEST(CimXmlReader, FindsParametersWithoutRegardToCase) {
  const Call read = readCall(call("GetClass", parameter("classNAME", "<CLASSNAME NAME=\"C\"/>")));
  EXPECT_EQ(read.parameters.count("ClassName"), 1U);
}

TEST(CimXmlReader, ReadsAPropertyList) {
  const Call read = readCall(
      call("EnumerateInstances",
           parameter("PropertyList",
                     "<VALUE.ARRAY><VALUE>Name</VALUE><VALUE>Speed</VALUE></VALUE.ARRAY>")));
  EXPECT_THAT(*read.parameters.at("PropertyList").list, ElementsAre("Name", "Speed"));
}

TEST(CimXmlReader, AnEmptyParameterIsNull) {
  const Call read = readCall(call("EnumerateInstances", parameter("PropertyList", "")));
  EXPECT_FALSE(read.parameters.at("PropertyList").list);
}

TEST(CimXmlReader, KeysHaveTheTypeThatTheClientGives) {
  const Call read = readCall(call(
      "GetInstance",
      parameter("InstanceName",
                "<INSTANCENAME CLASSNAME=\"C\">"
                "<KEYBINDING NAME=\"S\"><KEYVALUE VALUETYPE=\"string\">a:b</KEYVALUE></KEYBINDING>"
                "<KEYBINDING NAME=\"N\"><KEYVALUE VALUETYPE=\"numeric\">7</KEYVALUE></KEYBINDING>"
                "<KEYBINDING NAME=\"M\"><KEYVALUE VALUETYPE=\"numeric\">-7</KEYVALUE></KEYBINDING>"
                "<KEYBINDING NAME=\"B\"><KEYVALUE VALUETYPE=\"boolean\">true</KEYVALUE>"
                "</KEYBINDING></INSTANCENAME>")));
  const broker::ObjectPath& path = *read.parameters.at("InstanceName").objectName;
  EXPECT_EQ(path.className, "C");
  EXPECT_EQ(*path.key("S"), Value::ofString("a:b"));
  EXPECT_EQ(*path.key("N"), Value::ofUnsigned(CMPI_uint64, 7));
  EXPECT_EQ(*path.key("M"), Value::ofSigned(CMPI_sint64, -7));
  EXPECT_EQ(*path.key("B"), Value::ofBoolean(true));
}

TEST(CimXmlReader, ReadsReferencesInAllTheirForms) {
  const std::string name = "<INSTANCENAME CLASSNAME=\"C\"/>";
  const std::string local =
      "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"a\"/><NAMESPACE NAME=\"b\"/></LOCALNAMESPACEPATH>";
  const auto read = [](const std::string& inner) {
    return readProperty("<PROPERTY.REFERENCE NAME=\"R\"><VALUE.REFERENCE>" + inner +
                        "</VALUE.REFERENCE></PROPERTY.REFERENCE>")
        .reference();
  };
  EXPECT_EQ(read(name).nameSpace, "");
  EXPECT_EQ(read("<LOCALINSTANCEPATH>" + local + name + "</LOCALINSTANCEPATH>").nameSpace, "a/b");
  const auto full = read("<INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST>" + local +
                         "</NAMESPACEPATH>" + name + "</INSTANCEPATH>");
  EXPECT_EQ(full.host, "h");
  EXPECT_EQ(full.nameSpace, "a/b");
}

TEST(CimXmlReader, ReadsPropertiesInTheirTypes) {
  EXPECT_EQ(readProperty("<PROPERTY NAME=\"P\" TYPE=\"uint16\"><VALUE>5</VALUE></PROPERTY>"),
            Value::ofUnsigned(CMPI_uint16, 5));
  EXPECT_EQ(readProperty("<PROPERTY NAME=\"P\" TYPE=\"sint32\"><VALUE>5</VALUE></PROPERTY>"),
            Value::ofSigned(CMPI_sint32, 5));
  EXPECT_EQ(readProperty("<PROPERTY NAME=\"P\" TYPE=\"real64\"><VALUE>1.5</VALUE></PROPERTY>"),
            Value::ofReal(CMPI_real64, 1.5));
  EXPECT_EQ(readProperty("<PROPERTY NAME=\"P\" TYPE=\"boolean\"/>"), Value::ofNull(CMPI_boolean));
  EXPECT_EQ(
      readProperty("<PROPERTY NAME=\"P\" TYPE=\"string\"><VALUE>&lt;x&gt;</VALUE></PROPERTY>"),
      Value::ofString("<x>"));
  EXPECT_EQ(readProperty("<PROPERTY.ARRAY NAME=\"P\" TYPE=\"string\"><VALUE.ARRAY><VALUE>a</VALUE>"
                         "<VALUE.NULL/></VALUE.ARRAY></PROPERTY.ARRAY>"),
            Value::ofArray(CMPI_string, {Value::ofString("a"), Value::ofNull(CMPI_string)}));
}

TEST(CimXmlReader, AnExtrinsicCallTakesItsNamespaceFromThePath) {
  const Call read = readCall(message(
      "<METHODCALL NAME=\"Reset\"><LOCALCLASSPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
      "</LOCALNAMESPACEPATH><CLASSNAME NAME=\"C\"/></LOCALCLASSPATH></METHODCALL>"));
  EXPECT_FALSE(read.intrinsic);
  EXPECT_EQ(read.nameSpace, "root");
}

TEST(CimXmlReader, RefusesWhatIsNoRequest) {
  EXPECT_EQ(badMessage(""), "request-not-well-formed");
  EXPECT_EQ(badMessage("<CIM><MESSAGE"), "request-not-well-formed");
  EXPECT_EQ(badMessage("<HTML/>"), "request-not-valid");
  EXPECT_EQ(badMessage("<CIM/>"), "request-not-valid");
  EXPECT_EQ(badMessage("<CIM><MESSAGE/></CIM>"), "request-not-valid");
  EXPECT_EQ(badMessage(message("")), "request-not-valid");
  EXPECT_EQ(badMessage(message("<IMETHODCALL/>")), "request-not-valid");
  EXPECT_EQ(badMessage("<CIM><MESSAGE><MULTIREQ/></MESSAGE></CIM>"),
            "multiple-requests-unsupported");
}

TEST(CimXmlReader, RefusesDeepNestingWithoutRunningOutOfStack) {
  std::string deep;
  for (int i = 0; i < 200'000; ++i) deep += "<A>";
  for (int i = 0; i < 200'000; ++i) deep += "</A>";
  EXPECT_EQ(badMessage(message(deep)), "request-not-valid");
}

TEST(CimXmlReader, AWideMessageIsNotDeep) {
  std::string wide;
  for (int i = 0; i < 1000; ++i) wide += parameter("P" + std::to_string(i), "<VALUE>1</VALUE>");
  EXPECT_EQ(readCall(call("GetClass", wide)).parameters.size(), 1000U);
}

TEST(CimXmlReader, AWrongNumberIsAWrongParameter) {
  const auto withKey = [](const std::string& text) {
    return call("GetInstance", parameter("InstanceName",
                                         "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"N\">"
                                         "<KEYVALUE VALUETYPE=\"numeric\">" +
                                             text + "</KEYVALUE></KEYBINDING></INSTANCENAME>"));
  };
  EXPECT_EQ(statusOf(withKey("seven")), CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(statusOf(withKey("99999999999999999999999")), CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(statusOf(withKey("")), CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(statusOf(withKey("18446744073709551615")), CMPI_RC_OK);
}

TEST(CimXmlReader, AWrongParameterLeavesTheCallsMethodAndId) {
  const Call read = readCall(call("GetInstance", parameter("InstanceName", "<METHOD/>")));
  ASSERT_TRUE(read.failure);
  EXPECT_EQ(read.failure->rc(), CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(read.method, "GetInstance");
  EXPECT_EQ(read.messageId, "4711");
}

struct IntegerRow {
  const char* type;
  const char* smallest;
  const char* belowSmallest;
  const char* largest;
  const char* aboveLargest;
};

TEST(CimXmlReader, IntegersFitTheirTypes) {
  const IntegerRow rows[] = {
      {"uint8", "0", "-1", "255", "256"},
      {"sint8", "-128", "-129", "127", "128"},
      {"uint16", "0", "-1", "65535", "65536"},
      {"sint16", "-32768", "-32769", "32767", "32768"},
      {"uint32", "0", "-1", "4294967295", "4294967296"},
      {"sint32", "-2147483648", "-2147483649", "2147483647", "2147483648"},
      {"uint64", "0", "-1", "18446744073709551615", "18446744073709551616"},
      {"sint64", "-9223372036854775808", "-9223372036854775809", "9223372036854775807",
       "9223372036854775808"},
  };
  for (const IntegerRow& row : rows) {
    const auto status = [&](const char* text) {
      return statusOf(
          call("CreateInstance",
               parameter("NewInstance", "<INSTANCE CLASSNAME=\"C\"><PROPERTY NAME=\"P\" TYPE=\"" +
                                            std::string(row.type) + "\"><VALUE>" + text +
                                            "</VALUE></PROPERTY></INSTANCE>")));
    };
    EXPECT_EQ(status(row.smallest), CMPI_RC_OK) << row.type;
    EXPECT_EQ(status(row.largest), CMPI_RC_OK) << row.type;
    EXPECT_EQ(status(row.belowSmallest), CMPI_RC_ERR_INVALID_PARAMETER) << row.type;
    EXPECT_EQ(status(row.aboveLargest), CMPI_RC_ERR_INVALID_PARAMETER) << row.type;
  }
}

TEST(CimXmlReader, ReadsCharactersInUtf8) {
  const auto read = [](const std::string& text) {
    return readProperty("<PROPERTY NAME=\"P\" TYPE=\"char16\"><VALUE>" + text +
                        "</VALUE></PROPERTY>");
  };
  EXPECT_EQ(read("A"), Value::ofUnsigned(CMPI_char16, 'A'));
  EXPECT_EQ(read("\xC3\xA4"), Value::ofUnsigned(CMPI_char16, 0xE4));
  EXPECT_EQ(read("\xE2\x82\xAC"), Value::ofUnsigned(CMPI_char16, 0x20AC));
}

TEST(CimXmlReader, ACharacterIsOneCharacter) {
  for (const char* text : {"", "AB", "\xF0\x9F\x98\x80"}) {
    const std::string element =
        "<INSTANCE CLASSNAME=\"C\"><PROPERTY NAME=\"P\" TYPE=\"char16\">"
        "<VALUE>" +
        std::string(text) + "</VALUE></PROPERTY></INSTANCE>";
    EXPECT_EQ(statusOf(call("CreateInstance", parameter("NewInstance", element))),
              CMPI_RC_ERR_INVALID_PARAMETER)
        << text;
  }
}

}  // namespace
}  // namespace orv::cimxml
