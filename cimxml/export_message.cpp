#include "cimxml/export_message.h"

#include <pugixml.hpp>

#include "cimxml/element_writer.h"

namespace orv::cimxml {

using pugi::xml_node;

std::string exportMessage(const broker::Instance& indication, const std::string& messageId) {
  pugi::xml_document document;
  xml_node message = appendMessage(document, messageId);
  xml_node call = message.append_child("SIMPLEEXPREQ").append_child("EXPMETHODCALL");
  call.append_attribute("NAME") = "ExportIndication";
  xml_node parameter = call.append_child("EXPPARAMVALUE");
  parameter.append_attribute("NAME") = "NewIndication";
  appendInstance(parameter, indication, nullptr);
  return documentText(document);
}

}  // namespace orv::cimxml
