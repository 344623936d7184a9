#pragma once

#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

/// Writes plain values as elements of CIM-XML documents, of requests and responses alike. Text is
/// UTF-8; characters that XML cannot carry are replaced by U+FFFD. Functions append to `parent` and
/// fail with std::bad_alloc.
namespace orv::cimxml {

/// What a CLASS element contains.
struct ClassOptions {
  bool localOnly = false;  ///< only what the class itself declares or overrides
  bool includeQualifiers = false;
  bool includeClassOrigin = false;
  std::optional<std::vector<std::string>> properties;  ///< absent: all
};

/// The text as valid UTF-8: malformed bytes and characters that XML 1.0 cannot carry become U+FFFD.
std::string cleanText(std::string_view text);

/// Begins a document with a MESSAGE and returns that element; request or response goes below it.
pugi::xml_node appendMessage(pugi::xml_document& document, const std::string& id);

/// An element that contains a text.
pugi::xml_node appendText(pugi::xml_node parent, const char* element, const std::string& text);

/// LOCALNAMESPACEPATH.
void appendNameSpace(pugi::xml_node parent, const std::string& nameSpace);

/// INSTANCENAME.
void appendInstanceName(pugi::xml_node parent, const broker::ObjectPath& path);

/// INSTANCEPATH; `host` is its HOST if the path has none.
void appendInstancePath(pugi::xml_node parent, const broker::ObjectPath& path,
                        const std::string& host);

/// INSTANCE. `origins` is the class definition that gives the properties' CLASSORIGIN; null: none
/// is written.
void appendInstance(pugi::xml_node parent, const broker::Instance& instance,
                    const broker::ClassDefinition* origins);

/// CLASS.
void appendClass(pugi::xml_node parent, const broker::ClassDefinition& definition,
                 const ClassOptions& options);

/// QUALIFIER.DECLARATION.
void appendQualifierDeclaration(pugi::xml_node parent,
                                const broker::QualifierDefinition& definition);

/// The text of the elements, without a declaration.
std::string elementText(const pugi::xml_document& elements);

/// The text of the whole document.
std::string documentText(const pugi::xml_document& document);

}  // namespace orv::cimxml
