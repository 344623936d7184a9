#include "cimxml/request_reader.h"

#include <pugixml.hpp>
#include <string>
#include <vector>

#include "cimxml/element_reader.h"

namespace orv::cimxml {
namespace {

using std::string_view;

std::vector<std::string> readList(const pugi::xml_node& node) {
  std::vector<std::string> list;
  for (const pugi::xml_node value : node.children("VALUE")) list.emplace_back(value.text().get());
  return list;
}

Parameter readParameter(const pugi::xml_node& node) {
  Parameter parameter;
  const pugi::xml_node value = firstElement(node);
  if (!value) return parameter;
  if (is(value, "VALUE")) {
    parameter.text = value.text().get();
  } else if (is(value, "CLASSNAME")) {
    parameter.text = value.attribute("NAME").value();
  } else if (is(value, "VALUE.ARRAY")) {
    parameter.list = readList(value);
  } else if (is(value, "INSTANCENAME") || is(value, "VALUE.REFERENCE")) {
    parameter.objectName = readReference(value);
  } else if (is(value, "INSTANCE")) {
    parameter.instance = readInstance(value);
  } else if (is(value, "VALUE.NAMEDINSTANCE")) {
    parameter.instance = readInstance(requireChild(value, "INSTANCE"));
    parameter.instance->path = readInstanceName(requireChild(value, "INSTANCENAME"));
  } else {
    throw CimError(CMPI_RC_ERR_INVALID_PARAMETER,
                   std::string("unexpected ") + value.name() + " as a parameter");
  }
  return parameter;
}

void readParameters(const pugi::xml_node& node, Call& call) try {
  for (const pugi::xml_node parameter : node.children("IPARAMVALUE")) {
    call.parameters[parameter.attribute("NAME").value()] = readParameter(parameter);
  }
} catch (const CimError& error) {
  call.failure = error;
}

/// The namespace of an extrinsic call is part of the path of its object.
pugi::xml_node namespaceOf(const pugi::xml_node& call) {
  if (const pugi::xml_node local = call.child("LOCALNAMESPACEPATH")) return local;
  for (const char* path : {"LOCALCLASSPATH", "LOCALINSTANCEPATH"}) {
    if (const pugi::xml_node found = call.child(path)) return found.child("LOCALNAMESPACEPATH");
  }
  return {};
}

}  // namespace

Call readCall(string_view text) {
  pugi::xml_document document;
  parseDocument(document, text);
  const pugi::xml_node root = document.child("CIM");
  if (!root) requestNotValid("no CIM element");
  const pugi::xml_node message = requireChild(root, "MESSAGE");
  if (message.child("MULTIREQ")) {
    throw BadMessage("multiple-requests-unsupported", "a message takes one request");
  }
  const pugi::xml_node request = requireChild(message, "SIMPLEREQ");
  const pugi::xml_node node = firstElement(request);
  Call call;
  call.messageId = message.attribute("ID").value();
  call.intrinsic = is(node, "IMETHODCALL");
  if (!call.intrinsic && !is(node, "METHODCALL")) {
    requestNotValid("SIMPLEREQ without a method call");
  }
  call.method = node.attribute("NAME").value();
  call.nameSpace = nameSpaceText(namespaceOf(node));
  if (call.method.empty()) requestNotValid("method call without NAME");
  if (call.intrinsic) readParameters(node, call);
  return call;
}

}  // namespace orv::cimxml
