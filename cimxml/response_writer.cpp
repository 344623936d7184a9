#include "cimxml/response_writer.h"

#include <pugixml.hpp>
#include <string_view>
#include <utility>

namespace orv::cimxml {

using broker::Instance;
using broker::ObjectPath;
using pugi::xml_node;

struct ResponseWriter::Impl {
  pugi::xml_document document;  // all but the content of the return value
  WriteOptions options;
  xml_node response;
  bool returnsValue = true;
  std::string value;  // content of the return value
  const broker::ClassRepository* classes = nullptr;

  const broker::ClassDefinition* originsOf(const Instance& instance) const {
    return classes == nullptr ? nullptr : classes->find(instance.path.className);
  }

  /// Adds an element that contains the instance with its path.
  void addWithPath(const char* element, const Instance& instance) {
    add([&](xml_node parent) {
      xml_node node = parent.append_child(element);
      appendInstancePath(node, instance.path, options.host);
      appendInstance(node, instance, originsOf(instance));
    });
  }

  /// Adds to the return value what `fill` appends to the document that it is given.
  template <typename Fill>
  void add(Fill&& fill) {
    pugi::xml_document element;
    fill(element);
    value += elementText(element);
    if (value.size() <= options.limit) return;
    value = std::string();
    throw CimError(CMPI_RC_ERR_FAILED, "The answer has more than " +
                                           std::to_string(options.limit >> 20) +
                                           " MiB; ask for fewer properties, or pull it in pieces");
  }
};

ResponseWriter::ResponseWriter(const Call& call, WriteOptions options)
    : impl_(std::make_unique<Impl>()) {
  impl_->options = std::move(options);
  xml_node message = appendMessage(impl_->document, call.messageId);
  xml_node simple = message.append_child("SIMPLERSP");
  impl_->response = simple.append_child(call.intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE");
  impl_->response.append_attribute("NAME") = cleanText(call.method).c_str();
  impl_->response.append_child("IRETURNVALUE");
}

ResponseWriter::~ResponseWriter() = default;

void ResponseWriter::setOriginClasses(const broker::ClassRepository* classes) {
  impl_->classes = classes;
}

void ResponseWriter::className(const std::string& name) {
  impl_->add([&](xml_node parent) {
    parent.append_child("CLASSNAME").append_attribute("NAME") = cleanText(name).c_str();
  });
}

void ResponseWriter::classDefinition(const broker::ClassDefinition& definition,
                                     const ClassOptions& options) {
  impl_->add([&](xml_node parent) { appendClass(parent, definition, options); });
}

void ResponseWriter::qualifier(const broker::QualifierDefinition& definition) {
  impl_->add([&](xml_node parent) { appendQualifierDeclaration(parent, definition); });
}

void ResponseWriter::instanceName(const ObjectPath& path) {
  impl_->add([&](xml_node parent) { appendInstanceName(parent, path); });
}

void ResponseWriter::namedInstance(const Instance& instance) {
  impl_->add([&](xml_node parent) {
    xml_node node = parent.append_child("VALUE.NAMEDINSTANCE");
    appendInstanceName(node, instance.path);
    appendInstance(node, instance, impl_->originsOf(instance));
  });
}

void ResponseWriter::instance(const Instance& instance) {
  impl_->add(
      [&](xml_node parent) { appendInstance(parent, instance, impl_->originsOf(instance)); });
}

void ResponseWriter::instancePath(const ObjectPath& path) {
  impl_->add([&](xml_node parent) { appendInstancePath(parent, path, impl_->options.host); });
}

void ResponseWriter::instanceWithPath(const Instance& instance) {
  impl_->addWithPath("VALUE.INSTANCEWITHPATH", instance);
}

void ResponseWriter::objectPath(const ObjectPath& path) {
  impl_->add([&](xml_node parent) {
    appendInstancePath(parent.append_child("OBJECTPATH"), path, impl_->options.host);
  });
}

void ResponseWriter::objectWithPath(const Instance& instance) {
  impl_->addWithPath("VALUE.OBJECTWITHPATH", instance);
}

void ResponseWriter::noReturnValue() {
  impl_->returnsValue = false;
  impl_->response.remove_child("IRETURNVALUE");
}

void ResponseWriter::outParameter(const std::string& name, const char* type,
                                  const std::string& text) {
  xml_node parameter = impl_->response.append_child("PARAMVALUE");
  parameter.append_attribute("NAME") = name.c_str();
  parameter.append_attribute("PARAMTYPE") = type;
  appendText(parameter, "VALUE", text);
}

std::string ResponseWriter::finish(const std::optional<CimError>& failure) {
  if (failure) {
    impl_->response.remove_children();
    xml_node error = impl_->response.append_child("ERROR");
    error.append_attribute("CODE") = static_cast<int>(failure->rc());
    error.append_attribute("DESCRIPTION") = cleanText(failure->what()).c_str();
  }
  std::string text = documentText(impl_->document);
  if (failure || !impl_->returnsValue) return text;
  // The client's texts cannot contain the tag, because they are escaped.
  constexpr std::string_view kTag = "<IRETURNVALUE>";
  text.insert(text.find(kTag) + kTag.size(), impl_->value);
  return text;
}

}  // namespace orv::cimxml
