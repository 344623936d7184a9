#include "bench/null_provider.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cmpi/abi/cmpi_tables.h"

namespace orv::bench {
namespace {

using broker::Broker;
using broker::ObjectPath;
using broker::Value;

struct PreparedPath;

/// A value as the broker's tables take it, except that objects are made for each request.
struct PreparedValue {
  CMPIType type = CMPI_null;
  CMPIValue value{};
  std::string text;                     // of a string
  std::vector<PreparedValue> elements;  // of an array
  std::unique_ptr<PreparedPath> reference;
};

struct PreparedProperty {
  std::string name;
  PreparedValue value;
};

struct PreparedPath {
  std::string nameSpace;
  std::string className;
  std::vector<PreparedProperty> keys;
};

struct PreparedInstance {
  PreparedPath path;  // with the first key, unless that is a reference
  std::vector<PreparedProperty> properties;
};

struct PreparedAnswer {
  std::vector<PreparedInstance> instances;
  std::vector<PreparedPath> paths;
};

PreparedAnswer& answer() {
  static PreparedAnswer prepared;
  return prepared;
}

PreparedPath prepare(const ObjectPath& path);

void setNumber(CMPIValue& value, CMPIType type, std::uint64_t number) {
  if (type == CMPI_uint8) value.uint8 = static_cast<CMPIUint8>(number);
  if (type == CMPI_uint16) value.uint16 = static_cast<CMPIUint16>(number);
  if (type == CMPI_uint32) value.uint32 = static_cast<CMPIUint32>(number);
  if (type == CMPI_uint64) value.uint64 = number;
}

PreparedValue prepare(const Value& value) {
  PreparedValue prepared;
  prepared.type = value.type;
  if (const auto* text = std::get_if<std::string>(&value.content)) {
    prepared.type = CMPI_chars;
    prepared.text = *text;
  } else if (const auto* array = std::get_if<Value::Array>(&value.content)) {
    for (const Value& element : *array) prepared.elements.push_back(prepare(element));
  } else if (const auto* number = std::get_if<std::uint64_t>(&value.content)) {
    setNumber(prepared.value, value.type, *number);
  } else if (const auto* boolean = std::get_if<bool>(&value.content)) {
    prepared.value.boolean = *boolean ? 1 : 0;
  } else if (!value.null) {
    prepared.reference = std::make_unique<PreparedPath>(prepare(value.reference()));
  }
  return prepared;
}

PreparedPath prepare(const ObjectPath& path) {
  PreparedPath prepared{path.nameSpace, path.className, {}};
  for (const auto& key : path.keys) prepared.keys.push_back({key.name, prepare(key.value)});
  return prepared;
}

PreparedInstance prepare(const broker::Instance& instance) {
  PreparedInstance prepared{{instance.path.nameSpace, instance.path.className, {}}, {}};
  if (!instance.path.keys.empty() && instance.path.keys[0].value.type != CMPI_ref) {
    const auto& key = instance.path.keys[0];
    prepared.path.keys.push_back({key.name, prepare(key.value)});
  }
  for (const std::string& name : instance.setOrder) {
    prepared.properties.push_back({name, prepare(*instance.property(name))});
  }
  return prepared;
}

CMPIObjectPath* make(const CMPIBroker* broker, const PreparedPath& path);

CMPIArray* makeArray(const CMPIBroker* broker, const PreparedValue& value);

/// The value as a slot takes it: a text is passed itself, of anything else the address. An object
/// is made and stored in `room`.
const CMPIValue* passed(const CMPIBroker* broker, const PreparedValue& value, CMPIValue& room) {
  if (value.type == CMPI_chars) return reinterpret_cast<const CMPIValue*>(value.text.c_str());
  const bool isArray = (value.type & CMPI_ARRAY) != 0;
  if (!isArray && !value.reference) return &value.value;
  if (isArray) room.array = makeArray(broker, value);
  if (value.reference) room.ref = make(broker, *value.reference);
  return &room;
}

CMPIArray* makeArray(const CMPIBroker* broker, const PreparedValue& value) {
  const auto elementType = static_cast<CMPIType>(value.type & ~CMPI_ARRAY);
  const auto count = static_cast<CMPICount>(value.elements.size());
  CMPIArray* made = broker->eft->newArray(broker, count, elementType, nullptr);
  for (CMPICount i = 0; i < count; ++i) {
    CMPIValue room{};
    const PreparedValue& element = value.elements[i];
    made->ft->setElementAt(made, i, passed(broker, element, room), element.type);
  }
  return made;
}

CMPIObjectPath* make(const CMPIBroker* broker, const PreparedPath& path) {
  CMPIObjectPath* made =
      broker->eft->newObjectPath(broker, path.nameSpace.c_str(), path.className.c_str(), nullptr);
  for (const auto& key : path.keys) {
    CMPIValue room{};
    made->ft->addKey(made, key.name.c_str(), passed(broker, key.value, room), key.value.type);
  }
  return made;
}

CMPIInstance* make(const CMPIBroker* broker, const PreparedInstance& instance) {
  CMPIInstance* made = broker->eft->newInstance(broker, make(broker, instance.path), nullptr);
  for (const auto& property : instance.properties) {
    CMPIValue room{};
    made->ft->setProperty(made, property.name.c_str(), passed(broker, property.value, room),
                          property.value.type);
  }
  return made;
}

CMPIStatus answerAll(const CMPIResult* result) {
  const CMPIBroker* broker = Broker::cmpi();
  for (const auto& instance : answer().instances) {
    result->ft->returnInstance(result, make(broker, instance));
  }
  for (const auto& path : answer().paths) {
    result->ft->returnObjectPath(result, make(broker, path));
  }
  result->ft->returnDone(result);
  return {CMPI_RC_OK, nullptr};
}

template <typename Mi>
CMPIStatus cleanup(Mi*, const CMPIContext*, CMPIBoolean) {
  return {CMPI_RC_OK, nullptr};
}

template <typename Mi, typename... Rest>
CMPIStatus answerAny(Mi*, const CMPIContext*, const CMPIResult* result, Rest...) {
  return answerAll(result);
}

CMPIInstanceMI* createInstanceMi(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static CMPIInstanceMIFT table{};
  table.cleanup = cleanup<CMPIInstanceMI>;
  table.enumerateInstanceNames = answerAny;
  table.enumerateInstances = answerAny;
  table.getInstance = answerAny;
  static CMPIInstanceMI mi{};
  mi.ft = &table;
  return &mi;
}

CMPIAssociationMI* createAssociationMi(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static CMPIAssociationMIFT table{};
  table.cleanup = cleanup<CMPIAssociationMI>;
  table.associators = answerAny;
  table.associatorNames = answerAny;
  table.references = answerAny;
  table.referenceNames = answerAny;
  static CMPIAssociationMI mi{};
  mi.ft = &table;
  return &mi;
}

}  // namespace

void addNullProvider(Broker::Options& options) {
  const std::string name = kNullProvider;
  broker::RegistrationSection section;
  section.className = "Orvane_EthernetPort";
  section.provider = name;
  section.location = "linked";
  section.instance = true;
  section.association = true;
  section.namespaces = {"root/cimv2"};
  options.registration.push_back(std::move(section));
  options.linkedFactories[name + "_Create_InstanceMI"] = reinterpret_cast<void*>(&createInstanceMi);
  options.linkedFactories[name + "_Create_AssociationMI"] =
      reinterpret_cast<void*>(&createAssociationMi);
}

void replayAnswer(const broker::Response& response) {
  answer() = {};
  for (const auto& instance : response.instances) answer().instances.push_back(prepare(instance));
  for (const auto& path : response.paths) answer().paths.push_back(prepare(path));
}

}  // namespace orv::bench
