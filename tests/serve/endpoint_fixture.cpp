#include "tests/serve/endpoint_fixture.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

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

}  // namespace

std::shared_ptr<const broker::ClassRepository> servedClasses() {
  return readClasses(std::string(ORV_SOURCE_DIR) + "/schema", kAlertMof);
}

namespace {

broker::Broker::Options brokerOptions() {
  const std::string schema = std::string(ORV_SOURCE_DIR) + "/schema";
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = servedClasses();
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

namespace {

std::size_t keepBody(char* data, std::size_t size, std::size_t count, void* reply) {
  static_cast<Reply*>(reply)->body.append(data, size * count);
  return size * count;
}

std::size_t keepHeader(char* data, std::size_t size, std::size_t count, void* given) {
  const std::string line(data, size * count);
  auto& reply = *static_cast<Reply*>(given);
  const std::pair<std::string, std::string&> wanted[] = {{"CIMError: ", reply.cimError},
                                                         {"CIMOperation: ", reply.cimOperation}};
  for (const auto& [name, value] : wanted) {
    if (line.rfind(name, 0) != 0) continue;
    value = line.substr(name.size(), line.find_last_not_of("\r\n") + 1 - name.size());
  }
  return size * count;
}

}  // namespace

Reply postTo(int port, const std::string& body) {
  Reply reply;
  CURL* client = curl_easy_init();
  curl_slist* headers = nullptr;
  for (const char* header : {"Content-Type: application/xml; charset=\"utf-8\"",
                             "CIMOperation: MethodCall", "Expect:"}) {
    headers = curl_slist_append(headers, header);
  }
  const std::string url = "http://127.0.0.1:" + std::to_string(port) + "/cimom";
  curl_easy_setopt(client, CURLOPT_URL, url.c_str());
  curl_easy_setopt(client, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(client, CURLOPT_TIMEOUT, 60L);
  curl_easy_setopt(client, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(client, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(client, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  curl_easy_setopt(client, CURLOPT_WRITEFUNCTION, &keepBody);
  curl_easy_setopt(client, CURLOPT_WRITEDATA, &reply);
  curl_easy_setopt(client, CURLOPT_HEADERFUNCTION, &keepHeader);
  curl_easy_setopt(client, CURLOPT_HEADERDATA, &reply);
  const CURLcode outcome = curl_easy_perform(client);
  if (outcome == CURLE_OK) {
    long status = 0;
    curl_easy_getinfo(client, CURLINFO_RESPONSE_CODE, &status);
    reply.httpStatus = static_cast<int>(status);
  } else {
    reply.body = curl_easy_strerror(outcome);
  }
  curl_slist_free_all(headers);
  curl_easy_cleanup(client);
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

ServedLibrary::ServedLibrary(serve::Endpoint::Settings settings, const std::string& host,
                             const Prepare& prepare)
    : host_(host.empty() ? fileText(ORV_SOURCE_DIR "/tests/hosts/example.json") : host) {
  broker::Broker::Options options = brokerOptions();
  const auto namespaces = options.namespaces;
  broker_ = std::make_unique<broker::TestBroker>(std::move(options));
  if (prepare) prepare(*broker_, settings);
  if (settings.host.empty()) settings.host = "serving-host";
  endpoint_ = std::make_unique<serve::Endpoint>(*broker_, namespaces, settings);
  serve::ListenSocket socket(serve::ListenAddress{"127.0.0.1", 0});
  port_ = socket.port();
  endpoint_->start(std::move(socket));
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
