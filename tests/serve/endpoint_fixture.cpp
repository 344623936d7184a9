#include "tests/serve/endpoint_fixture.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <fstream>
#include <sstream>

#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "tests/serve/test_alerts.h"

namespace orv::test {
namespace {

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::shared_ptr<const broker::ClassRepository> readClasses(const std::string& directory,
                                                           const std::string& more) {
  auto classes = std::make_shared<broker::ClassRepository>();
  broker::MofReader reader(*classes);
  reader.readDirectory(directory);
  if (!more.empty()) reader.readText(more, "test.mof");
  return classes;
}

std::string namespacePath(const std::string& nameSpace) {
  std::string path = "<LOCALNAMESPACEPATH>";
  std::istringstream parts(nameSpace);
  for (std::string part; std::getline(parts, part, '/');) {
    path += "<NAMESPACE NAME=\"" + part + "\"/>";
  }
  return path + "</LOCALNAMESPACEPATH>";
}

broker::Broker::Options brokerOptions() {
  const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = readClasses(schema, kAlertMof);
  options.namespaces["root/interop"] = readClasses(schema + "/interop", "");
  options.registration = broker::readRegistrationFile(schema + "/orvprovider.reg");
  options.libraries["orvprovider"] = ORV_SIMULATED_LIBRARY;
  addAlerts(options);
  return options;
}

}  // namespace

pugi::xml_node Reply::response() const {
  const pugi::xml_node simple = document->child("CIM").child("MESSAGE").child("SIMPLERSP");
  return simple.first_child();
}

std::string Reply::messageId() const {
  return document->child("CIM").child("MESSAGE").attribute("ID").value();
}

std::size_t Reply::count() const {
  const auto children = value().children();
  return static_cast<std::size_t>(std::distance(children.begin(), children.end()));
}

Reply postTo(int port, const std::string& body) {
  httplib::Client client("127.0.0.1", port);
  client.set_read_timeout(60);
  Reply reply;
  const httplib::Result result =
      client.Post("/cimom", httplib::Headers{{"CIMOperation", "MethodCall"}}, body,
                  "application/xml; charset=\"utf-8\"");
  if (!result) return reply;
  reply.httpStatus = result->status;
  reply.cimError = result->get_header_value("CIMError");
  reply.body = result->body;
  if (reply.httpStatus == 200) {
    EXPECT_TRUE(reply.document->load_buffer(reply.body.data(), reply.body.size())) << reply.body;
  }
  return reply;
}

std::string requestMessage(const std::string& method, const std::string& nameSpace,
                           const std::string& parameters) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
         "<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"" +
         method + "\">" + namespacePath(nameSpace) + parameters +
         "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
}

std::string parameter(const std::string& name, const std::string& element) {
  return "<IPARAMVALUE NAME=\"" + name + "\">" + element + "</IPARAMVALUE>";
}

std::string classParameter(const std::string& name, const std::string& className) {
  return parameter(name, "<CLASSNAME NAME=\"" + className + "\"/>");
}

std::string valueParameter(const std::string& name, const std::string& text) {
  return parameter(name, "<VALUE>" + text + "</VALUE>");
}

std::string listParameter(const std::string& name, const std::vector<std::string>& texts) {
  std::string values;
  for (const std::string& text : texts) values += "<VALUE>" + text + "</VALUE>";
  return parameter(name, "<VALUE.ARRAY>" + values + "</VALUE.ARRAY>");
}

std::string textOf(const pugi::xml_node& node) {
  std::ostringstream text;
  node.print(text, "", pugi::format_raw);
  return text.str();
}

ServedLibrary::ServedLibrary(serve::Endpoint::Settings settings, const std::string& host)
    : host_(host.empty() ? fileText(ORV_SOURCE_DIR "/tests/hosts/example.json") : host) {
  broker::Broker::Options options = brokerOptions();
  const auto namespaces = options.namespaces;
  broker_ = std::make_unique<broker::TestBroker>(std::move(options));
  if (settings.host.empty()) settings.host = "serving-host";
  endpoint_ = std::make_unique<serve::Endpoint>(*broker_, namespaces, settings);
  port_ = endpoint_->start({"127.0.0.1", 0});
}

ServedLibrary::~ServedLibrary() {
  endpoint_.reset();
  broker_->shutdown();
}

std::string ServedLibrary::firstName(const std::string& className) const {
  const Reply reply = ask("EnumerateInstanceNames", classParameter("ClassName", className));
  return textOf(reply.value().child("INSTANCENAME"));
}

}  // namespace orv::test
