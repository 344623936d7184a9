#include "tests/serve/subscriber.h"

namespace orv::test {
namespace {

constexpr const char* kFilterClass = "CIM_IndicationFilter";
constexpr const char* kSubscriptionClass = "CIM_IndicationSubscription";

std::string keyBinding(const std::string& name, const std::string& text) {
  return "<KEYBINDING NAME=\"" + name + "\"><KEYVALUE VALUETYPE=\"string\">" + text +
         "</KEYVALUE></KEYBINDING>";
}

}  // namespace

std::string objectName(const std::string& className, const std::string& name) {
  return "<INSTANCENAME CLASSNAME=\"" + className + "\">" +
         keyBinding("SystemCreationClassName", "CIM_ComputerSystem") +
         keyBinding("SystemName", "client") + keyBinding("CreationClassName", className) +
         keyBinding("Name", name) + "</INSTANCENAME>";
}

std::string stringProperty(const std::string& name, const std::string& text) {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"string\"><VALUE>" + text + "</VALUE></PROPERTY>";
}

std::string objectInstance(const std::string& className, const std::string& name,
                           const std::string& properties) {
  return "<INSTANCE CLASSNAME=\"" + className + "\">" +
         stringProperty("SystemCreationClassName", "CIM_ComputerSystem") +
         stringProperty("SystemName", "client") + stringProperty("CreationClassName", className) +
         stringProperty("Name", name) + properties + "</INSTANCE>";
}

std::string reference(ReferenceForm form, const std::string& instanceName) {
  const std::string local =
      "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"interop\"/>"
      "</LOCALNAMESPACEPATH>";
  std::string path = instanceName;
  if (form == ReferenceForm::kLocalInstancePath) {
    path = "<LOCALINSTANCEPATH>" + local + instanceName + "</LOCALINSTANCEPATH>";
  } else if (form == ReferenceForm::kInstancePath) {
    path = "<INSTANCEPATH><NAMESPACEPATH><HOST>localhost</HOST>" + local + "</NAMESPACEPATH>" +
           instanceName + "</INSTANCEPATH>";
  }
  return "<VALUE.REFERENCE>" + path + "</VALUE.REFERENCE>";
}

Reply Subscriber::createFilter(const std::string& name, const FilterText& filter) const {
  std::string properties =
      stringProperty("Query", filter.query) + stringProperty("QueryLanguage", filter.language);
  if (!filter.sourceNamespace.empty()) {
    properties += stringProperty("SourceNamespace", filter.sourceNamespace);
  }
  return create(objectInstance(kFilterClass, name, properties));
}

Reply Subscriber::createHandler(const std::string& name, const std::string& url,
                                const std::string& className) const {
  return create(objectInstance(className, name, stringProperty("Destination", url)));
}

Reply Subscriber::createSubscription(const std::string& filter, const std::string& handler,
                                     const std::string& handlerClass, ReferenceForm form,
                                     const std::string& moreProperties) const {
  const auto property = [&](const std::string& name, const std::string& object) {
    return "<PROPERTY.REFERENCE NAME=\"" + name + "\">" + reference(form, object) +
           "</PROPERTY.REFERENCE>";
  };
  return create("<INSTANCE CLASSNAME=\"" + std::string(kSubscriptionClass) + "\">" +
                property("Filter", objectName(kFilterClass, filter)) +
                property("Handler", objectName(handlerClass, handler)) + moreProperties +
                "</INSTANCE>");
}

std::string Subscriber::subscriptionName(const std::string& filter, const std::string& handler,
                                         const std::string& handlerClass, ReferenceForm form) {
  const auto binding = [&](const std::string& name, const std::string& object) {
    return "<KEYBINDING NAME=\"" + name + "\">" + reference(form, object) + "</KEYBINDING>";
  };
  return "<INSTANCENAME CLASSNAME=\"" + std::string(kSubscriptionClass) + "\">" +
         binding("Filter", objectName(kFilterClass, filter)) +
         binding("Handler", objectName(handlerClass, handler)) + "</INSTANCENAME>";
}

std::string Subscriber::subscribe(const std::string& name, const std::string& url,
                                  const FilterText& filter) const {
  for (const Reply& reply :
       {createFilter(name, filter), createHandler(name, url), createSubscription(name, name)}) {
    if (reply.httpStatus != 200 || reply.code() != 0) return reply.body + " ";
  }
  return "";
}

}  // namespace orv::test
