#pragma once

#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

/// Plain values as elements of CIM-XML documents; the same in requests and in responses. Text is
/// UTF-8; characters that XML cannot carry are replaced by U+FFFD.
namespace orv::cimxml {

/// What a CLASS element says of a class.
struct ClassOptions {
  bool localOnly = false;  ///< only what the class itself declares or overrides
  bool includeQualifiers = false;
  bool includeClassOrigin = false;
  std::optional<std::vector<std::string>> properties;  ///< absent: all
};

/// Valid UTF-8 without characters that XML 1.0 cannot carry.
std::string cleanText(std::string_view text);

/// MESSAGE in a document of its own; what it asks or answers goes below.
pugi::xml_node appendMessage(pugi::xml_document& document, const std::string& id);

/// An element with a text.
pugi::xml_node appendText(pugi::xml_node parent, const char* element, const std::string& text);

/// LOCALNAMESPACEPATH.
void appendNameSpace(pugi::xml_node parent, const std::string& nameSpace);

/// INSTANCENAME.
void appendInstanceName(pugi::xml_node parent, const broker::ObjectPath& path);

/// INSTANCEPATH; `host` is the HOST of a path that has none.
void appendInstancePath(pugi::xml_node parent, const broker::ObjectPath& path,
                        const std::string& host);

/// INSTANCE. `origins` is the class whose definition gives each property's CLASSORIGIN; null: none
/// is written.
void appendInstance(pugi::xml_node parent, const broker::Instance& instance,
                    const broker::ClassDefinition* origins);

/// CLASS.
void appendClass(pugi::xml_node parent, const broker::ClassDefinition& definition,
                 const ClassOptions& options);

/// QUALIFIER.DECLARATION.
void appendQualifierDeclaration(pugi::xml_node parent,
                                const broker::QualifierDefinition& definition);

/// Elements as they stand in a document.
std::string elementText(const pugi::xml_document& elements);

/// The document as it is sent.
std::string documentText(const pugi::xml_document& document);

}  // namespace orv::cimxml
