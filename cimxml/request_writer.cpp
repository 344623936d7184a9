#include "cimxml/request_writer.h"

#include <algorithm>
#include <iterator>
#include <pugixml.hpp>

#include "cimxml/element_writer.h"

namespace orv::cimxml {
namespace {

using pugi::xml_node;

/// Parameters whose text is a class name, which has an element of its own.
constexpr const char* kClassParameters[] = {"ClassName", "AssocClass", "ResultClass"};

bool namesAClass(const std::string& parameter) {
  return std::any_of(std::begin(kClassParameters), std::end(kClassParameters),
                     [&](const char* name) { return broker::sameName(parameter, name); });
}

void appendInstanceParameter(xml_node parent, const broker::Instance& instance) {
  if (instance.path.keys.empty()) return appendInstance(parent, instance, nullptr);
  xml_node named = parent.append_child("VALUE.NAMEDINSTANCE");
  appendInstanceName(named, instance.path);
  appendInstance(named, instance, nullptr);
}

void appendParameter(xml_node call, const std::string& name, const Parameter& parameter) {
  xml_node node = call.append_child("IPARAMVALUE");
  node.append_attribute("NAME") = cleanText(name).c_str();
  if (parameter.text && namesAClass(name)) {
    node.append_child("CLASSNAME").append_attribute("NAME") = cleanText(*parameter.text).c_str();
  } else if (parameter.text) {
    appendText(node, "VALUE", *parameter.text);
  } else if (parameter.list) {
    xml_node values = node.append_child("VALUE.ARRAY");
    for (const std::string& value : *parameter.list) appendText(values, "VALUE", value);
  } else if (parameter.objectName) {
    appendInstanceName(node, *parameter.objectName);
  } else if (parameter.instance) {
    appendInstanceParameter(node, *parameter.instance);
  }
}

}  // namespace

std::string callMessage(const Call& call) {
  pugi::xml_document document;
  xml_node request = appendMessage(document, call.messageId).append_child("SIMPLEREQ");
  xml_node method = request.append_child("IMETHODCALL");
  method.append_attribute("NAME") = cleanText(call.method).c_str();
  appendNameSpace(method, call.nameSpace);
  for (const auto& [name, parameter] : call.parameters) appendParameter(method, name, parameter);
  return documentText(document);
}

}  // namespace orv::cimxml
