#include "serve/subscriptions.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "broker/select_expressions.h"
#include "broker/wql.h"
#include "cimxml/messages.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using cimxml::CimError;

constexpr const char* kFilter = "CIM_IndicationFilter";
constexpr const char* kSubscription = "CIM_IndicationSubscription";
constexpr const char* kDestination = "CIM_ListenerDestination";
constexpr std::size_t kMaximumEntries = 4096;
constexpr std::uint64_t kDisabled = 4;

std::string textOf(const Instance& instance, const char* property) {
  const Value* value = instance.property(property);
  const auto* text = value == nullptr ? nullptr : std::get_if<std::string>(&value->content);
  return text == nullptr ? std::string() : *text;
}

/// Types of one kind may stand in for one another: integers of any width, texts and date-times.
unsigned kindOf(CMPIType type) {
  const unsigned array = type & CMPI_ARRAY;
  const unsigned element = type & ~static_cast<unsigned>(CMPI_ARRAY);
  if (element == CMPI_dateTime) return array | CMPI_string;
  const bool isInteger = (element & CMPI_UINT) != 0 && (element & CMPI_ENC) == 0;
  return array | (isInteger ? static_cast<unsigned>(CMPI_UINT) : element);
}

void checkType(const broker::PropertyDefinition& declared, const Value& value) {
  if (kindOf(value.type) == kindOf(declared.type)) return;
  throw CimError(CMPI_RC_ERR_TYPE_MISMATCH, declared.name + " is a " +
                                                broker::typeName(declared.type) + ", not a " +
                                                broker::typeName(value.type));
}

/// Null when there is no such number.
const Value* numberOf(const Instance& instance, const char* property) {
  const Value* value = instance.property(property);
  return value == nullptr || !std::holds_alternative<std::uint64_t>(value->content) ? nullptr
                                                                                    : value;
}

/// A path whose reference keys may come without a namespace, which then is ours.
ObjectPath normalised(ObjectPath path, const std::string& nameSpace) {
  path.host.clear();
  path.nameSpace = nameSpace;
  for (broker::Key& key : path.keys) {
    const auto* reference = std::get_if<std::shared_ptr<const ObjectPath>>(&key.value.content);
    if (reference != nullptr && *reference != nullptr) {
      key.value = Value::ofReference(normalised(**reference, nameSpace));
    }
  }
  return path;
}

/// First of SourceNamespaces, or SourceNamespace.
std::string sourceNamespace(const Instance& filter, const std::string& fallback) {
  const Value* list = filter.property("SourceNamespaces");
  if (list != nullptr && !list->null && list->isArray() && !list->array().empty() &&
      !list->array().front().null) {
    return list->array().front().text();
  }
  const std::string single = textOf(filter, "SourceNamespace");
  return single.empty() ? fallback : single;
}

/// A filter is checked when it is made, not only when somebody subscribes.
void checkQuery(const Instance& filter) {
  if (!broker::isKnownQueryLanguage(textOf(filter, "QueryLanguage"))) {
    throw CimError(CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED,
                   "QueryLanguage must be WQL, CQL or DMTF:CQL");
  }
  try {
    broker::parseWql(textOf(filter, "Query"));
  } catch (const broker::WqlError& error) {
    throw CimError(CMPI_RC_ERR_INVALID_QUERY, error.what());
  }
}

}  // namespace

Subscriptions::Subscriptions(broker::Broker& broker, const broker::ClassRepository& classes,
                             IndicationExport& exporter, std::string nameSpace)
    : broker_(broker), classes_(classes), exporter_(exporter), nameSpace_(std::move(nameSpace)) {}

Subscriptions::~Subscriptions() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const Entry& entry : entries_) {
    if (entry.subscription != 0) broker_.unsubscribe(entry.subscription);
  }
}

/// Declared properties with their defaults, the given ones over them, and the path from the keys.
Instance Subscriptions::complete(const Instance& given) const {
  const broker::ClassDefinition* definition = classes_.find(given.path.className);
  if (definition == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS, "Class not found");
  Instance instance;
  instance.path.nameSpace = nameSpace_;
  instance.path.className = definition->name;
  for (const broker::PropertyDefinition& property : definition->properties) {
    const Value* value = given.property(property.name);
    if (value != nullptr) checkType(property, *value);
    Value result = value == nullptr ? Value::ofNull(property.type) : *value;
    if (value == nullptr && property.type == CMPI_uint16 && property.defaultValue) {
      result = Value::ofUnsigned(CMPI_uint16, std::stoul(property.defaultValue->front()));
    }
    if (property.key) {
      if (result.null) {
        throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, "key " + property.name + " is missing");
      }
      instance.path.keys.push_back({property.name, result});
    }
    instance.properties.push_back({property.name, std::move(result)});
  }
  instance.path = normalised(instance.path, nameSpace_);
  return instance;
}

void Subscriptions::requireClass(const std::string& className) const {
  if (classes_.find(className) == nullptr) {
    throw CimError(CMPI_RC_ERR_INVALID_CLASS, "Class not found");
  }
}

const Subscriptions::Entry* Subscriptions::find(const ObjectPath& path) const {
  const ObjectPath wanted = normalised(path, nameSpace_);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return entry.instance.path == wanted;
  });
  return found == entries_.end() ? nullptr : &*found;
}

const Instance& Subscriptions::referenced(const Instance& subscription, const char* role,
                                          const char* className) const {
  const Value* key = subscription.path.key(role);
  const auto* path =
      key == nullptr ? nullptr : std::get_if<std::shared_ptr<const ObjectPath>>(&key->content);
  const Entry* entry = path == nullptr || !*path ? nullptr : find(**path);
  if (entry == nullptr || !classes_.isA(entry->instance.path.className, className)) {
    throw CimError(CMPI_RC_ERR_INVALID_PARAMETER,
                   std::string(role) + " is no " + className + " that is here");
  }
  return entry->instance;
}

broker::SubscriptionId Subscriptions::subscribe(const Instance& subscription,
                                                std::string& destination) {
  const Instance& filter = referenced(subscription, "Filter", kFilter);
  destination = textOf(referenced(subscription, "Handler", kDestination), "Destination");
  const Value* state = numberOf(subscription, "SubscriptionState");
  if (state != nullptr && state->number() == kDisabled) return 0;
  broker::IndicationFilter wanted;
  wanted.query = textOf(filter, "Query");
  wanted.language = textOf(filter, "QueryLanguage");
  wanted.sourceNamespace = sourceNamespace(filter, nameSpace_);
  wanted.name = filter.path.toText();
  const auto deliver = [this, destination](const Instance& indication) {
    exporter_.enqueue(destination, indication);
  };
  const broker::SubscribeResult result = broker_.subscribe(wanted, deliver);
  if (!result.ok()) throw CimError(result.rc, result.message.value_or("the filter was refused"));
  return result.id;
}

ObjectPath Subscriptions::create(const Instance& given) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry entry;
  entry.instance = complete(given);
  const ObjectPath& path = entry.instance.path;
  if (find(path) != nullptr) throw CimError(CMPI_RC_ERR_ALREADY_EXISTS, "Instance already exists");
  if (entries_.size() >= kMaximumEntries) {
    throw CimError(CMPI_RC_ERR_FAILED, "too many indication objects");
  }
  if (classes_.isA(path.className, kSubscription)) {
    entry.subscription = subscribe(entry.instance, entry.destination);
  } else if (classes_.isA(path.className, kFilter)) {
    checkQuery(entry.instance);
  } else if (!classes_.isA(path.className, kDestination)) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, "Instances of " + path.className + " are not kept");
  } else if (!IndicationExport::isUsable(textOf(entry.instance, "Destination"))) {
    throw CimError(CMPI_RC_ERR_INVALID_PARAMETER,
                   "Destination must have the form http://host:port/path");
  }
  entries_.push_back(std::move(entry));
  return entries_.back().instance.path;
}

bool Subscriptions::isUsed(const ObjectPath& path) const {
  return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return std::any_of(entry.instance.path.keys.begin(), entry.instance.path.keys.end(),
                       [&](const broker::Key& key) {
                         const auto* reference =
                             std::get_if<std::shared_ptr<const ObjectPath>>(&key.value.content);
                         return reference != nullptr && *reference != nullptr &&
                                **reference == path;
                       });
  });
}

void Subscriptions::remove(const ObjectPath& path) {
  requireClass(path.className);
  const std::lock_guard<std::mutex> lock(mutex_);
  const Entry* entry = find(path);
  if (entry == nullptr) throw CimError(CMPI_RC_ERR_NOT_FOUND, "Instance not found");
  if (isUsed(entry->instance.path)) {
    const bool isFilter = classes_.isA(entry->instance.path.className, kFilter);
    throw CimError(CMPI_RC_ERR_FAILED, isFilter ? "Filter in use" : "Handler in use");
  }
  if (entry->subscription != 0) broker_.unsubscribe(entry->subscription);
  const std::string destination = entry->destination;
  entries_.erase(entries_.begin() + (entry - entries_.data()));
  const bool stillUsed = std::any_of(entries_.begin(), entries_.end(), [&](const Entry& other) {
    return other.destination == destination;
  });
  if (!destination.empty() && !stillUsed) exporter_.forget(destination);
}

Instance Subscriptions::get(const ObjectPath& path) const {
  requireClass(path.className);
  const std::lock_guard<std::mutex> lock(mutex_);
  const Entry* entry = find(path);
  if (entry == nullptr) throw CimError(CMPI_RC_ERR_NOT_FOUND, "Instance not found");
  return entry->instance;
}

std::vector<Instance> Subscriptions::enumerate(const std::string& className) const {
  requireClass(className);
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Instance> instances;
  for (const Entry& entry : entries_) {
    if (classes_.isA(entry.instance.path.className, className)) {
      instances.push_back(entry.instance);
    }
  }
  return instances;
}

}  // namespace orv::serve
