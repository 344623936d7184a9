#include "cimxml/response_reader.h"

#include <algorithm>
#include <pugixml.hpp>

#include "cimxml/class_reader.h"
#include "cimxml/element_reader.h"

namespace orv::cimxml {
namespace {

using broker::Instance;
using pugi::xml_node;

[[noreturn]] void responseNotValid(const std::string& text) {
  throw BadMessage("response-not-valid", text);
}

/// Servers may send any number as a status; one that is not a CMPIrc becomes a general failure.
CimError readError(const xml_node& node) {
  const int code = node.attribute("CODE").as_int();
  const bool isStatus = code > 0 && code <= CMPI_RC_ERROR;
  const auto rc = isStatus ? static_cast<CMPIrc>(code) : CMPI_RC_ERR_FAILED;
  return {rc, node.attribute("DESCRIPTION").value()};
}

/// Reads VALUE.NAMEDINSTANCE, VALUE.OBJECTWITHPATH or VALUE.INSTANCEWITHPATH, which have a path and
/// an instance.
Instance readWithPath(const xml_node& node, const char* path) {
  Instance instance = readInstance(requireChild(node, "INSTANCE"));
  instance.path = readReference(requireChild(node, path));
  return instance;
}

void readNamedInstance(const xml_node& node, Reply& reply) {
  reply.instances.push_back(readWithPath(node, "INSTANCENAME"));
}

void readInstanceWithPath(const xml_node& node, Reply& reply) {
  const bool isLocal = node.child("LOCALINSTANCEPATH");
  reply.instances.push_back(readWithPath(node, isLocal ? "LOCALINSTANCEPATH" : "INSTANCEPATH"));
}

void readPath(const xml_node& node, Reply& reply) { reply.paths.push_back(readReference(node)); }

void readObjectPath(const xml_node& node, Reply& reply) {
  const xml_node path = firstElement(node);
  if (!path) responseNotValid("an empty OBJECTPATH");
  reply.paths.push_back(readReference(path));
}

/// The elements that a return value may contain.
constexpr struct {
  const char* element;
  void (*read)(const xml_node&, Reply&);
} kReaders[] = {
    {"INSTANCENAME", readPath},
    {"INSTANCEPATH", readPath},
    {"OBJECTPATH", readObjectPath},
    {"INSTANCE",
     [](const xml_node& node, Reply& reply) { reply.instances.push_back(readInstance(node)); }},
    {"VALUE.NAMEDINSTANCE", readNamedInstance},
    {"VALUE.OBJECTWITHPATH", readInstanceWithPath},
    {"VALUE.INSTANCEWITHPATH", readInstanceWithPath},
    {"CLASSNAME",
     [](const xml_node& node, Reply& reply) {
       reply.classNames.emplace_back(node.attribute("NAME").value());
     }},
    {"CLASS", [](const xml_node& node, Reply& reply) { reply.classes.push_back(readClass(node)); }},
};

void readValue(const xml_node& node, Reply& reply) {
  const std::string_view name = node.name();
  const auto* const reader = std::find_if(std::begin(kReaders), std::end(kReaders),
                                          [&](const auto& row) { return name == row.element; });
  if (reader == std::end(kReaders)) {
    responseNotValid("unexpected " + std::string(name) + " in an answer");
  }
  reader->read(node, reply);
}

}  // namespace

Reply readReply(std::string_view text) {
  pugi::xml_document document;
  parseDocument(document, text);
  const xml_node root = document.child("CIM");
  if (!root) responseNotValid("no CIM element");
  const xml_node message = requireChild(root, "MESSAGE");
  const xml_node response = requireChild(requireChild(message, "SIMPLERSP"), "IMETHODRESPONSE");
  Reply reply;
  reply.messageId = message.attribute("ID").value();
  reply.method = response.attribute("NAME").value();
  if (const xml_node error = response.child("ERROR")) {
    reply.failure = readError(error);
    return reply;
  }
  for (const xml_node value : response.child("IRETURNVALUE").children()) {
    if (value.type() == pugi::node_element) readValue(value, reply);
  }
  return reply;
}

}  // namespace orv::cimxml
