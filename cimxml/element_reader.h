#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "broker/values.h"

/// Reads elements of CIM-XML documents, of requests and responses alike, as plain values.
///
/// Every function fails with BadMessage for a document or an element that is not what it should be,
/// and with CimError (CMPI_RC_ERR_INVALID_PARAMETER) for a value that does not fit its type.
namespace orv::cimxml {

/// How deep elements may nest; ordinary messages nest about a dozen deep.
constexpr std::size_t kMaximumXmlDepth = 64;

/// Throws BadMessage with "request-not-valid".
[[noreturn]] void requestNotValid(const std::string& text);

/// Whether the element has that name.
bool is(const pugi::xml_node& node, std::string_view name);

/// Parses a document and checks its depth.
void parseDocument(pugi::xml_document& document, std::string_view text);

/// The first child that is an element, not a comment or text. Null when there is none.
pugi::xml_node firstElement(const pugi::xml_node& node);
/// The child of that name. Fails: BadMessage when there is none.
pugi::xml_node requireChild(const pugi::xml_node& node, const char* name);

/// "root/cimv2" of a LOCALNAMESPACEPATH.
std::string nameSpaceText(const pugi::xml_node& localPath);

/// The type that an element's TYPE names; string without one.
CMPIType dataTypeOf(const pugi::xml_node& node);

/// INSTANCENAME.
broker::ObjectPath readInstanceName(const pugi::xml_node& node);

/// VALUE.REFERENCE, or one of the path elements that it may hold.
broker::ObjectPath readReference(const pugi::xml_node& node);

/// How deep instances may be embedded in one another.
constexpr int kMaximumEmbeddedDepth = 8;

/// INSTANCE. The path has only the class name. A malformed date-time becomes a string.
broker::Instance readInstance(const pugi::xml_node& node);

/// One INSTANCE element given as text, as in an embedded instance.
broker::Instance readInstanceText(std::string_view text);

}  // namespace orv::cimxml
