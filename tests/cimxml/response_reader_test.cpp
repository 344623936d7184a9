#include "cimxml/response_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/mof_reader.h"
#include "cimxml/export_message.h"
#include "cimxml/response_writer.h"

namespace orv::cimxml {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using testing::ElementsAre;
using testing::HasSubstr;

Call call() {
  Call call;
  call.messageId = "4711";
  call.method = "EnumerateInstances";
  call.nameSpace = "root/cimv2";
  return call;
}

Instance inner() {
  Instance instance;
  instance.path.className = "T_Inner";
  instance.properties = {{"Text", Value::ofString("<a & \"b\">")}};
  return instance;
}

ObjectPath referencedPath() {
  ObjectPath path;
  path.nameSpace = "root/cimv2";
  path.className = "T_Port";
  path.keys = {{"Id", Value::ofString("nic0")}, {"Number", Value::ofUnsigned(CMPI_uint64, 5)}};
  return path;
}

/// Every type that a property may have.
Instance everything() {
  Instance instance;
  instance.path = referencedPath();
  instance.properties = {
      {"Text", Value::ofString(" two\nlines \t")},
      {"Empty", Value::ofString("")},
      {"Flag", Value::ofBoolean(false)},
      {"Small", Value::ofUnsigned(CMPI_uint8, 255)},
      {"Large", Value::ofUnsigned(CMPI_uint64, 18446744073709551615U)},
      {"Negative", Value::ofSigned(CMPI_sint64, INT64_MIN)},
      {"Letter", Value::ofUnsigned(CMPI_char16, 0x20AC)},
      {"Single", Value::ofReal(CMPI_real32, 0.1F)},
      {"Double", Value::ofReal(CMPI_real64, 0.1)},
      {"Since",
       Value::ofDateTime({"20261121024000.000000+000", 1795228800ULL * 1000000ULL, false})},
      {"Nothing", Value::ofNull(CMPI_uint16)},
      {"NoList", Value::ofNull(static_cast<CMPIType>(CMPI_string | CMPI_ARRAY))},
      {"List", Value::ofArray(CMPI_string, {Value::ofString("a"), Value::ofString("")})},
      {"Inner", Value::ofInstance(inner())},
      {"Inners", Value::ofArray(CMPI_instance, {Value::ofInstance(inner())})},
      {"Link", Value::ofReference(referencedPath())},
  };
  return instance;
}

template <typename Write>
Reply reply(Write&& write) {
  ResponseWriter writer(call(), {});
  write(writer);
  return readReply(writer.finish());
}

void expectEverything(const Instance& read) {
  EXPECT_EQ(read.path.className, "T_Port");
  ASSERT_EQ(read.properties.size(), everything().properties.size());
  for (const broker::Property& property : everything().properties) {
    const Value* value = read.property(property.name);
    ASSERT_NE(value, nullptr) << property.name;
    EXPECT_EQ(value->type, property.value.type) << property.name;
    EXPECT_EQ(value->toText(), property.value.toText()) << property.name;
  }
}

TEST(CimXmlResponseReader, InstancesOfEveryFormAreWhatWasWritten) {
  const Instance instance = everything();
  for (const auto& [write, hasPath] : {std::make_pair(&ResponseWriter::instance, false),
                                       {&ResponseWriter::namedInstance, true},
                                       {&ResponseWriter::instanceWithPath, true},
                                       {&ResponseWriter::objectWithPath, true}}) {
    const Reply read = reply([&, write = write](ResponseWriter& to) { (to.*write)(instance); });
    ASSERT_EQ(read.instances.size(), 1U);
    expectEverything(read.instances[0]);
    EXPECT_EQ(read.instances[0].path.keys.size(), hasPath ? 2U : 0U);
    EXPECT_EQ(read.messageId, "4711");
    EXPECT_EQ(read.method, "EnumerateInstances");
  }
}

TEST(CimXmlResponseReader, PathsOfEveryFormAreWhatWasWritten) {
  for (const auto& [write, nameSpace] : {std::make_pair(&ResponseWriter::instanceName, ""),
                                         {&ResponseWriter::instancePath, "root/cimv2"},
                                         {&ResponseWriter::objectPath, "root/cimv2"}}) {
    const Reply read =
        reply([write = write](ResponseWriter& to) { (to.*write)(referencedPath()); });
    ASSERT_EQ(read.paths.size(), 1U);
    EXPECT_EQ(read.paths[0].nameSpace, nameSpace);
    EXPECT_EQ(*read.paths[0].key("Number"), Value::ofUnsigned(CMPI_uint64, 5));
  }
}

TEST(CimXmlResponseReader, ClassesKeepWhatUnitsAndWordsNeed) {
  broker::ClassRepository classes;
  broker::MofReader(classes).readText(R"(
      Qualifier ValueMap : string[];
      Qualifier Values : string[];
      [Abstract] class T_Base { [Key] string Id; uint16 State = 3; };
      class T_Port : T_Base {
        [ValueMap{"0", "2"}, Values{"Unknown", "Enabled"}] uint16 Words[];
        [EmbeddedInstance("T_Base")] string Inner; };
      [Association] class T_Link { [Key] T_Port REF From; };
      [Indication] class T_Alert { datetime Since; };)",
                                      "x.mof");
  ClassOptions options;
  options.includeQualifiers = true;
  for (const char* name : {"T_Base", "T_Port", "T_Link", "T_Alert"}) {
    const broker::ClassDefinition& written = *classes.find(name);
    const Reply read = reply([&](ResponseWriter& to) { to.classDefinition(written, options); });
    ASSERT_EQ(read.classes.size(), 1U);
    const broker::ClassDefinition& definition = read.classes[0];
    EXPECT_EQ(definition.name, name);
    EXPECT_EQ(definition.superclass, written.superclass);
    EXPECT_EQ(definition.association, written.association);
    EXPECT_EQ(definition.indication, written.indication);
    EXPECT_EQ(definition.abstract, written.abstract);
    ASSERT_EQ(definition.properties.size(), written.properties.size());
    for (std::size_t i = 0; i < written.properties.size(); ++i) {
      const auto& is = definition.properties[i];
      const auto& was = written.properties[i];
      EXPECT_EQ(is.name, was.name);
      EXPECT_EQ(is.type, was.type);
      EXPECT_EQ(is.key, was.key);
      EXPECT_EQ(is.referenceClass, was.referenceClass);
      EXPECT_EQ(is.embeddedClass, was.embeddedClass);
      EXPECT_EQ(is.defaultValue, was.defaultValue);
      ASSERT_EQ(is.qualifiers.size(), was.qualifiers.size());
      for (std::size_t q = 0; q < was.qualifiers.size(); ++q) {
        EXPECT_EQ(is.qualifiers[q].name, was.qualifiers[q].name);
        EXPECT_TRUE(was.qualifiers[q].type == CMPI_boolean ||
                    is.qualifiers[q].values == was.qualifiers[q].values);
      }
    }
  }
}

TEST(CimXmlResponseReader, ClassNamesAreListed) {
  const Reply read = reply([](ResponseWriter& to) {
    to.className("A");
    to.className("B");
  });
  EXPECT_THAT(read.classNames, ElementsAre("A", "B"));
}

TEST(CimXmlResponseReader, AFailureHasItsStatusAndText) {
  ResponseWriter writer(call(), {});
  writer.instance(everything());
  const Reply read = readReply(writer.finish(CimError(CMPI_RC_ERR_NOT_FOUND, "no <such> thing")));
  ASSERT_TRUE(read.failure);
  EXPECT_EQ(read.failure->rc(), CMPI_RC_ERR_NOT_FOUND);
  EXPECT_STREQ(read.failure->what(), "no <such> thing");
  EXPECT_TRUE(read.instances.empty());
}

TEST(CimXmlResponseReader, AStatusThatIsNoneIsAFailureLikeOthers) {
  for (const char* code : {"99999999999", "-1", "0", "201", "x", ""}) {
    const Reply read = readReply(
        std::string("<CIM><MESSAGE ID=\"1\"><SIMPLERSP><IMETHODRESPONSE NAME=\"GetInstance\">"
                    "<ERROR CODE=\"") +
        code + "\"/></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>");
    ASSERT_TRUE(read.failure) << code;
    EXPECT_EQ(read.failure->rc(), CMPI_RC_ERR_FAILED) << code;
  }
}

TEST(CimXmlResponseReader, AnAnswerWithoutAValueIsASuccess) {
  ResponseWriter writer(call(), {});
  writer.noReturnValue();
  EXPECT_FALSE(readReply(writer.finish()).failure);
}

// ---- What is not an answer ----

std::string responseMessage(const std::string& value) {
  return "<CIM><MESSAGE ID=\"1\"><SIMPLERSP><IMETHODRESPONSE NAME=\"X\"><IRETURNVALUE>" + value +
         "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
}

TEST(CimXmlResponseReader, RefusesWhatIsNoAnswer) {
  for (const std::string& text :
       {std::string(), std::string("<html><body>Welcome</body></html>"), std::string("<CIM/>"),
        std::string("<CIM><MESSAGE/></CIM>"), std::string("<CIM><MESSAGE><SIMPLEREQ/>"),
        std::string("<CIM><MESSAGE><MULTIRSP/></MESSAGE></CIM>"),
        std::string("<CIM><MESSAGE><SIMPLERSP><METHODRESPONSE/></SIMPLERSP></MESSAGE></CIM>"),
        responseMessage("<SURPRISE/>"), responseMessage("<VALUE.NAMEDINSTANCE/>"),
        responseMessage("<INSTANCE/>"), responseMessage("<CLASS/>"),
        responseMessage("<OBJECTPATH/>"), responseMessage("<INSTANCENAME/>"),
        responseMessage("<INSTANCE CLASSNAME=\"C\">")}) {
    EXPECT_THROW(readReply(text), BadMessage) << text;
  }
}

TEST(CimXmlResponseReader, RefusesValuesThatDoNotFit) {
  const auto property = [](const std::string& type, const std::string& text) {
    return responseMessage("<INSTANCE CLASSNAME=\"C\"><PROPERTY NAME=\"P\" TYPE=\"" + type +
                           "\"><VALUE>" + text + "</VALUE></PROPERTY></INSTANCE>");
  };
  for (const std::string& text :
       {property("uint8", "256"), property("uint8", "-1"), property("colour", "red"),
        property("boolean", "maybe"), property("real32", "1e400")}) {
    EXPECT_THROW(readReply(text), CimError) << text;
  }
  EXPECT_EQ(readReply(property("datetime", "soon")).instances[0].properties[0].value,
            Value::ofString("soon"));
}

std::string embedded(int depth) {
  std::string text = "<INSTANCE CLASSNAME=\"C\"></INSTANCE>";
  for (int i = 0; i < depth; ++i) {
    Instance holder;
    holder.path.className = "C";
    holder.properties = {{"P", Value::ofString(text)}};
    ResponseWriter writer(call(), {});
    writer.instance(holder);
    const std::string whole = writer.finish();
    const std::size_t begin = whole.find("<INSTANCE ");
    text = whole.substr(begin, whole.find("</INSTANCE>") + 11 - begin);
    text.insert(text.find(" TYPE="), " EmbeddedObject=\"instance\"");
  }
  return text;
}

TEST(CimXmlResponseReader, EmbeddedInstancesEndSomewhere) {
  EXPECT_EQ(readReply(responseMessage(embedded(3))).instances.size(), 1U);
  EXPECT_THROW(readReply(responseMessage(embedded(12))), CimError);
  EXPECT_THROW(readReply(responseMessage(
                   "<INSTANCE CLASSNAME=\"C\"><PROPERTY NAME=\"P\" TYPE=\"string\" "
                   "EmbeddedObject=\"instance\"><VALUE>none</VALUE></PROPERTY></INSTANCE>")),
               CimError);
}

// ---- Indications ----

TEST(CimXmlExport, AnIndicationIsReadAsItWasSent) {
  const ExportedIndication read = readExport(exportMessage(everything(), "9"));
  EXPECT_EQ(read.messageId, "9");
  expectEverything(read.indication);
  EXPECT_THAT(exportResponse("9"), HasSubstr("<MESSAGE ID=\"9\""));
  EXPECT_THAT(exportResponse("9"), HasSubstr("<EXPMETHODRESPONSE NAME=\"ExportIndication\">"));
}

TEST(CimXmlExport, OtherMessagesAreRefused) {
  EXPECT_THROW(readExport("<CIM/>"), BadMessage);
  EXPECT_THROW(readExport(responseMessage("")), BadMessage);
  EXPECT_THROW(
      readExport("<CIM><MESSAGE><SIMPLEEXPREQ><EXPMETHODCALL NAME=\"Other\"/></SIMPLEEXPREQ>"
                 "</MESSAGE></CIM>"),
      BadMessage);
}

}  // namespace
}  // namespace orv::cimxml
