#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "broker/values.h"

/// Elements of CIM-XML documents as plain values; the same in requests and in responses.
///
/// Every function fails with BadMessage for a document or an element that is not what it should be,
/// and with CimError (CMPI_RC_ERR_INVALID_PARAMETER) for a value that does not fit its type.
namespace orv::cimxml {

/// Elements may nest this deep; a message nests about a dozen.
constexpr std::size_t kMaximumXmlDepth = 64;

[[noreturn]] void requestNotValid(const std::string& text);

/// Whether an element has that name.
bool is(const pugi::xml_node& node, std::string_view name);

/// Parses a document and checks its depth.
void parseDocument(pugi::xml_document& document, std::string_view text);

/// The first element below a node; comments and texts are skipped. Null when there is none.
pugi::xml_node firstElement(const pugi::xml_node& node);
pugi::xml_node requireChild(const pugi::xml_node& node, const char* name);

/// "root/cimv2" of a LOCALNAMESPACEPATH.
std::string nameSpaceText(const pugi::xml_node& localPath);

/// The type that an element's TYPE names; string where it names none.
CMPIType dataTypeOf(const pugi::xml_node& node);

/// INSTANCENAME.
broker::ObjectPath readInstanceName(const pugi::xml_node& node);

/// VALUE.REFERENCE, or one of the path elements that it may hold.
broker::ObjectPath readReference(const pugi::xml_node& node);

/// Instances may be embedded in one another this deep.
constexpr int kMaximumEmbeddedDepth = 8;

/// INSTANCE. The path has the class name only. A date-time that is malformed stays a text.
broker::Instance readInstance(const pugi::xml_node& node);

/// One INSTANCE element given as text, as in an embedded instance.
broker::Instance readInstanceText(std::string_view text);

}  // namespace orv::cimxml
