#include "tests/real_broker/cim_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <sstream>

namespace orv::test {
namespace {

constexpr char kFilter[] = "CIM_IndicationFilter";
constexpr char kHandler[] = "CIM_IndicationHandlerCIMXML";

class Connection {
 public:
  Connection() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(5988);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{60, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    connected_ =
        ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~Connection() { ::close(socket_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool send(const std::string& text) const {
    return connected_ && ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL) ==
                             static_cast<ssize_t>(text.size());
  }

  /// One answer. The broker keeps the connection, whatever the request says.
  std::string receive() const {
    std::string answer;
    char bytes[16384];
    while (answer.find("</CIM>") == std::string::npos) {
      const ssize_t got = ::recv(socket_, bytes, sizeof bytes, 0);
      if (got <= 0) break;
      answer.append(bytes, static_cast<std::size_t>(got));
    }
    return answer;
  }

 private:
  int socket_;
  bool connected_ = false;
};

std::string nameSpacePath(const std::string& nameSpace) {
  std::string path = "<LOCALNAMESPACEPATH>";
  std::istringstream parts(nameSpace);
  for (std::string part; std::getline(parts, part, '/');) {
    path += "<NAMESPACE NAME=\"" + part + "\"/>";
  }
  return path + "</LOCALNAMESPACEPATH>";
}

Keys keysOf(const std::string& className, const std::string& name) {
  return {{"SystemCreationClassName", "CIM_ComputerSystem"},
          {"SystemName", "client"},
          {"CreationClassName", className},
          {"Name", name}};
}

std::string property(const std::string& name, const std::string& text) {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"string\"><VALUE>" + escaped(text) +
         "</VALUE></PROPERTY>";
}

std::string newInstance(const std::string& className, const std::string& properties) {
  return parameter("NewInstance",
                   "<INSTANCE CLASSNAME=\"" + className + "\">" + properties + "</INSTANCE>");
}

std::string newNamedInstance(const std::string& className, const std::string& name,
                             const std::string& more) {
  std::string properties;
  for (const auto& [key, text] : keysOf(className, name)) properties += property(key, text);
  return newInstance(className, properties + more);
}

std::string referenceTo(const std::string& className, const std::string& name) {
  return "<VALUE.REFERENCE>" + instanceName(className, keysOf(className, name)) +
         "</VALUE.REFERENCE>";
}

}  // namespace

int Reply::code() const {
  const std::string mark = "<ERROR CODE=\"";
  const std::size_t at = body.find(mark);
  if (at != std::string::npos) return std::stoi(body.substr(at + mark.size()));
  return body.find("<IMETHODRESPONSE") == std::string::npos ? -1 : 0;
}

std::size_t Reply::count(const std::string& element) const {
  std::size_t number = 0;
  for (std::size_t at = 0; (at = body.find("<" + element, at)) != std::string::npos; ++at) {
    const char next = body[at + element.size() + 1];
    if (next == '>' || next == ' ' || next == '/') ++number;
  }
  return number;
}

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '<') {
      result += "&lt;";
    } else if (c == '&') {
      result += "&amp;";
    } else if (c == '"') {
      result += "&quot;";
    } else {
      result += c;
    }
  }
  return result;
}

std::string instanceName(const std::string& className, const Keys& keys) {
  std::string name = "<INSTANCENAME CLASSNAME=\"" + className + "\">";
  for (const auto& [key, text] : keys) {
    name += "<KEYBINDING NAME=\"" + key + "\"><KEYVALUE VALUETYPE=\"string\">" + escaped(text) +
            "</KEYVALUE></KEYBINDING>";
  }
  return name + "</INSTANCENAME>";
}

std::string parameter(const std::string& name, const std::string& element) {
  return "<IPARAMVALUE NAME=\"" + name + "\">" + element + "</IPARAMVALUE>";
}

std::string classParameter(const std::string& className) {
  return parameter("ClassName", "<CLASSNAME NAME=\"" + className + "\"/>");
}

std::string nameParameter(const std::string& name, const std::string& className, const Keys& keys) {
  return parameter(name, instanceName(className, keys));
}

Reply ask(const std::string& method, const std::string& parameters, const std::string& nameSpace) {
  const std::string body =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
      "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"" +
      method + "\">" + nameSpacePath(nameSpace) + parameters +
      "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>\n";
  const Connection connection;
  if (!connection.send("POST /cimom HTTP/1.1\r\nHost: localhost\r\n"
                       "Content-Type: application/xml; charset=\"utf-8\"\r\n"
                       "CIMOperation: MethodCall\r\nContent-Length: " +
                       std::to_string(body.size()) + "\r\n\r\n" + body)) {
    return {};
  }
  const std::string answer = connection.receive();
  const std::size_t head = answer.find("\r\n\r\n");
  if (head == std::string::npos || answer.compare(0, 7, "HTTP/1.") != 0) return {};
  return {std::stoi(answer.substr(9)), answer.substr(head + 4)};
}

std::string subscribe(const std::string& name, const std::string& className,
                      const std::string& url) {
  const std::string filter = newNamedInstance(kFilter, name,
                                              property("Query", "SELECT * FROM " + className) +
                                                  property("QueryLanguage", "WQL") +
                                                  property("SourceNamespace", "root/cimv2"));
  const std::string handler = newNamedInstance(kHandler, name, property("Destination", url));
  const std::string subscription =
      newInstance("CIM_IndicationSubscription",
                  "<PROPERTY.REFERENCE NAME=\"Filter\">" + referenceTo(kFilter, name) +
                      "</PROPERTY.REFERENCE><PROPERTY.REFERENCE "
                      "NAME=\"Handler\">" +
                      referenceTo(kHandler, name) + "</PROPERTY.REFERENCE>");
  for (const std::string& instance : {filter, handler, subscription}) {
    const Reply reply = ask("CreateInstance", instance, "root/interop");
    if (reply.code() != 0) return "creating failed: " + reply.body;
  }
  return "";
}

std::string unsubscribe(const std::string& name) {
  const auto binding = [&](const std::string& key, const std::string& className) {
    return "<KEYBINDING NAME=\"" + key + "\">" + referenceTo(className, name) + "</KEYBINDING>";
  };
  const std::string subscription = "<INSTANCENAME CLASSNAME=\"CIM_IndicationSubscription\">" +
                                   binding("Filter", kFilter) + binding("Handler", kHandler) +
                                   "</INSTANCENAME>";
  for (const std::string& object : {subscription, instanceName(kFilter, keysOf(kFilter, name)),
                                    instanceName(kHandler, keysOf(kHandler, name))}) {
    const Reply reply = ask("DeleteInstance", parameter("InstanceName", object), "root/interop");
    if (reply.code() != 0) return "deleting failed: " + reply.body;
  }
  return "";
}

}  // namespace orv::test
