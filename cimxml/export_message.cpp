#include "cimxml/export_message.h"

#include <pugixml.hpp>

#include "cimxml/element_reader.h"
#include "cimxml/element_writer.h"
#include "cimxml/messages.h"

namespace orv::cimxml {
namespace {

using pugi::xml_node;

constexpr const char* kMethod = "ExportIndication";
constexpr const char* kParameter = "NewIndication";

}  // namespace

std::string exportMessage(const broker::Instance& indication, const std::string& messageId) {
  pugi::xml_document document;
  xml_node message = appendMessage(document, messageId);
  xml_node call = message.append_child("SIMPLEEXPREQ").append_child("EXPMETHODCALL");
  call.append_attribute("NAME") = kMethod;
  xml_node parameter = call.append_child("EXPPARAMVALUE");
  parameter.append_attribute("NAME") = kParameter;
  appendInstance(parameter, indication, nullptr);
  return documentText(document);
}

ExportedIndication readExport(std::string_view text) {
  pugi::xml_document document;
  parseDocument(document, text);
  const xml_node message = requireChild(requireChild(document, "CIM"), "MESSAGE");
  const xml_node call = requireChild(requireChild(message, "SIMPLEEXPREQ"), "EXPMETHODCALL");
  if (call.attribute("NAME").value() != std::string_view(kMethod)) {
    throw BadMessage("request-not-valid", "the export method is not ExportIndication");
  }
  const xml_node parameter = call.find_child_by_attribute("EXPPARAMVALUE", "NAME", kParameter);
  if (!parameter) throw BadMessage("request-not-valid", "no NewIndication");
  return {message.attribute("ID").value(), readInstance(requireChild(parameter, "INSTANCE"))};
}

std::string exportResponse(const std::string& messageId) {
  pugi::xml_document document;
  xml_node response = appendMessage(document, messageId).append_child("SIMPLEEXPRSP");
  xml_node method = response.append_child("EXPMETHODRESPONSE");
  method.append_attribute("NAME") = kMethod;
  method.append_child("IRETURNVALUE");
  return documentText(document);
}

}  // namespace orv::cimxml
