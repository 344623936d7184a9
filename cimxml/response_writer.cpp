#include "cimxml/response_writer.h"

#include <pugixml.hpp>
#include <utility>

namespace orv::cimxml {

using broker::Instance;
using broker::ObjectPath;
using pugi::xml_node;

struct ResponseWriter::Impl {
  pugi::xml_document document;
  WriteOptions options;
  xml_node response;
  xml_node value;
  const broker::ClassRepository* classes = nullptr;

  const broker::ClassDefinition* originsOf(const Instance& instance) const {
    if (classes == nullptr || !options.includeClassOrigin) return nullptr;
    return classes->find(instance.path.className);
  }
};

ResponseWriter::ResponseWriter(const Call& call, WriteOptions options)
    : impl_(std::make_unique<Impl>()) {
  impl_->options = std::move(options);
  xml_node message = appendMessage(impl_->document, call.messageId);
  xml_node simple = message.append_child("SIMPLERSP");
  impl_->response = simple.append_child(call.intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE");
  impl_->response.append_attribute("NAME") = cleanText(call.method).c_str();
  impl_->value = impl_->response.append_child("IRETURNVALUE");
}

ResponseWriter::~ResponseWriter() = default;

WriteOptions& ResponseWriter::options() { return impl_->options; }

void ResponseWriter::setOriginClasses(const broker::ClassRepository* classes) {
  impl_->classes = classes;
}

void ResponseWriter::className(const std::string& name) {
  impl_->value.append_child("CLASSNAME").append_attribute("NAME") = cleanText(name).c_str();
}

void ResponseWriter::classDefinition(const broker::ClassDefinition& definition,
                                     const ClassOptions& options) {
  appendClass(impl_->value, definition, options);
}

void ResponseWriter::instanceName(const ObjectPath& path) {
  appendInstanceName(impl_->value, path);
}

void ResponseWriter::namedInstance(const Instance& instance) {
  xml_node node = impl_->value.append_child("VALUE.NAMEDINSTANCE");
  appendInstanceName(node, instance.path);
  appendInstance(node, instance, impl_->originsOf(instance));
}

void ResponseWriter::instance(const Instance& instance) {
  appendInstance(impl_->value, instance, impl_->originsOf(instance));
}

void ResponseWriter::objectPath(const ObjectPath& path) {
  appendInstancePath(impl_->value.append_child("OBJECTPATH"), path, impl_->options.host);
}

void ResponseWriter::objectWithPath(const Instance& instance) {
  xml_node node = impl_->value.append_child("VALUE.OBJECTWITHPATH");
  appendInstancePath(node, instance.path, impl_->options.host);
  appendInstance(node, instance, impl_->originsOf(instance));
}

void ResponseWriter::noReturnValue() { impl_->response.remove_child(impl_->value); }

void ResponseWriter::outParameter(const std::string& name, const char* type,
                                  const std::string& text) {
  xml_node parameter = impl_->response.append_child("PARAMVALUE");
  parameter.append_attribute("NAME") = name.c_str();
  if (type != nullptr) parameter.append_attribute("PARAMTYPE") = type;
  parameter.append_child("VALUE")
      .append_child(pugi::node_pcdata)
      .set_value(cleanText(text).c_str());
}

std::string ResponseWriter::finish(const std::optional<CimError>& failure) {
  if (failure) {
    impl_->response.remove_children();
    xml_node error = impl_->response.append_child("ERROR");
    error.append_attribute("CODE") = static_cast<int>(failure->rc());
    error.append_attribute("DESCRIPTION") = cleanText(failure->what()).c_str();
  }
  return documentText(impl_->document);
}

}  // namespace orv::cimxml
