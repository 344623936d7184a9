#include "tests/metrics/scripted_host.h"

namespace orv::test {

using broker::Value;

Value text(const std::string& value) { return Value::ofString(value); }
Value number(std::uint64_t value, CMPIType type) { return Value::ofUnsigned(type, value); }
Value flag(bool value) { return Value::ofBoolean(value); }
Value time(std::uint64_t seconds) { return Value::ofDateTime({"", seconds * 1'000'000, false}); }
Value nothing(CMPIType type) { return Value::ofNull(type); }

broker::Instance instance(const std::string& className, std::vector<broker::Property> properties) {
  broker::Instance made;
  made.path.nameSpace = "root/cimv2";
  made.path.className = className;
  for (const broker::Property& property : properties) {
    if (property.name == "EventId") made.path.keys.push_back({property.name, property.value});
  }
  made.properties = std::move(properties);
  return made;
}

metrics::Ask ScriptedHost::ask() {
  return [this](const broker::Request& request) {
    requests.push_back(request);
    broker::Response response;
    const std::string& className = request.path.className;
    if (request.operation == broker::Operation::kAssociatorNames) {
      const Value* event = request.path.key("EventId");
      const auto found = elements.find(event == nullptr ? "" : event->text());
      if (found != elements.end()) response.paths.push_back(found->second);
      return response;
    }
    if (failures.count(className) > 0) {
      response.rc = failures.at(className);
      return response;
    }
    response.instances = instances[className];
    return response;
  };
}

}  // namespace orv::test
