#include "serve/subscriptions.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "broker/select_expressions.h"
#include "broker/wql.h"
#include "cimxml/messages.h"
#include "serve/addresses.h"
#include "serve/log.h"
#include "serve/objects.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using cimxml::CimError;

constexpr const char* kFilter = "CIM_IndicationFilter";
constexpr const char* kSubscription = "CIM_IndicationSubscription";
constexpr const char* kDestination = "CIM_ListenerDestination";
constexpr std::uint64_t kDisabled = 4;

std::string textOf(const Instance& instance, const char* property) {
  const Value* value = instance.property(property);
  const auto* text = value == nullptr ? nullptr : std::get_if<std::string>(&value->content);
  return text == nullptr ? std::string() : *text;
}

/// Types of one kind are accepted for one another: integers of any width; strings and date-times.
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

/// The value of an unsigned integer property; null when the instance has none.
const Value* numberOf(const Instance& instance, const char* property) {
  const Value* value = instance.property(property);
  return value == nullptr || !std::holds_alternative<std::uint64_t>(value->content) ? nullptr
                                                                                    : value;
}

/// The first of SourceNamespaces, else SourceNamespace, else `fallback`.
std::string sourceNamespace(const Instance& filter, const std::string& fallback) {
  const Value* list = filter.property("SourceNamespaces");
  if (list != nullptr && !list->null && list->isArray() && !list->array().empty() &&
      !list->array().front().null) {
    return list->array().front().text();
  }
  const std::string single = textOf(filter, "SourceNamespace");
  return single.empty() ? fallback : single;
}

/// Checks the query when the filter is created, not only when a client subscribes.
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

/// Whether a key of the instance is a reference to the object.
bool refersTo(const Instance& instance, const ObjectPath& path) {
  return std::any_of(
      instance.path.keys.begin(), instance.path.keys.end(), [&](const broker::Key& key) {
        const auto* reference = std::get_if<std::shared_ptr<const ObjectPath>>(&key.value.content);
        return reference != nullptr && *reference != nullptr && **reference == path;
      });
}

std::size_t bytesOf(const StoredObject& object) { return storeText({object}).size(); }

}  // namespace

Subscriptions::Subscriptions(broker::Broker& broker, const broker::ClassRepository& classes,
                             IndicationExport& exporter, std::string nameSpace, Settings settings)
    : broker_(broker),
      classes_(classes),
      exporter_(exporter),
      nameSpace_(std::move(nameSpace)),
      settings_(std::move(settings)),
      store_(settings_.file) {}

Subscriptions::~Subscriptions() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& entry : entries_) {
    if (entry->subscription != 0) broker_.unsubscribe(entry->subscription);
  }
}

void Subscriptions::restore() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const StoredObject& stored : store_.load(classes_)) {
    auto entry = std::make_unique<Entry>();
    try {
      entry->instance = complete(stored.instance);
    } catch (const CimError& error) {
      log(LogLevel::kError,
          "a stored " + stored.instance.path.className + " is ignored: " + error.what());
      ignored_.push_back(stored);
      continue;
    }
    entry->creator = stored.creator;
    entry->bytes = bytesOf(stored);
    bytes_ += entry->bytes;
    entries_.push_back(std::move(entry));
  }
  for (const auto& entry : entries_) {
    if (classes_.isA(entry->instance.path.className, kSubscription)) activateOrTell(*entry);
  }
}

void Subscriptions::save() const try {
  std::vector<StoredObject> objects;
  for (const auto& entry : entries_) objects.push_back({entry->instance, entry->creator});
  objects.insert(objects.end(), ignored_.begin(), ignored_.end());
  store_.save(objects);
} catch (const std::runtime_error& error) {
  log(LogLevel::kError, error.what());
  throw CimError(CMPI_RC_ERR_FAILED, "the change cannot be stored");
}

/// An instance with every declared property, given or by default, and the path made of its keys.
Instance Subscriptions::complete(const Instance& given) const {
  const broker::ClassDefinition* definition = classes_.find(given.path.className);
  if (definition == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS);
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
  instance.path = localPath(instance.path, nameSpace_);
  return instance;
}

Subscriptions::Entry* Subscriptions::find(const ObjectPath& path) const {
  const ObjectPath wanted = localPath(path, nameSpace_);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
    return entry->instance.path == wanted;
  });
  return found == entries_.end() ? nullptr : found->get();
}

Subscriptions::Entry& Subscriptions::require(const ObjectPath& path) const {
  if (classes_.find(path.className) == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS);
  Entry* entry = find(path);
  if (entry == nullptr) throw CimError(CMPI_RC_ERR_NOT_FOUND, "Instance not found");
  return *entry;
}

const Subscriptions::Entry& Subscriptions::referenced(const Instance& subscription,
                                                      const char* role,
                                                      const char* className) const {
  const Value* key = subscription.path.key(role);
  const auto* path =
      key == nullptr ? nullptr : std::get_if<std::shared_ptr<const ObjectPath>>(&key->content);
  const Entry* entry = path == nullptr || !*path ? nullptr : find(**path);
  if (entry == nullptr || !classes_.isA(entry->instance.path.className, className)) {
    throw CimError(CMPI_RC_ERR_INVALID_PARAMETER,
                   std::string(role) + " is not the path of a " + className + " that exists");
  }
  return *entry;
}

/// Checks a filter or a handler on its own. Fails: CimError.
void Subscriptions::check(const Entry& entry) const {
  const std::string& className = entry.instance.path.className;
  if (classes_.isA(className, kSubscription)) return;
  if (classes_.isA(className, kFilter)) return checkQuery(entry.instance);
  if (!classes_.isA(className, kDestination)) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, "Instances of " + className + " are not kept");
  }
  const std::string host = hostOf(textOf(entry.instance, "Destination"));
  if (host.empty()) {
    throw CimError(
        CMPI_RC_ERR_INVALID_PARAMETER,
        "Destination must have the form http://host:port/path or https://host:port/path");
  }
  // A host name is resolved when an indication is sent, and the addresses are checked then.
  if (isNetwork(host) && !settings_.rules.allow(host, entry.creator)) {
    throw CimError(CMPI_RC_ERR_ACCESS_DENIED, "Indications may not be sent to " + host);
  }
}

/// Subscribes with the broker, unless the subscription is disabled. Fails: CimError.
void Subscriptions::activate(Entry& entry) {
  const Instance& filter = referenced(entry.instance, "Filter", kFilter).instance;
  const Entry& handler = referenced(entry.instance, "Handler", kDestination);
  const Destination destination{textOf(handler.instance, "Destination"), handler.creator};
  entry.destination = destination;
  const Value* state = numberOf(entry.instance, "SubscriptionState");
  if (state != nullptr && state->number() == kDisabled) return;
  try {
    exporter_.prepare(destination);
  } catch (const std::runtime_error& error) {
    throw CimError(CMPI_RC_ERR_FAILED, error.what());
  }
  broker::IndicationFilter wanted;
  wanted.query = textOf(filter, "Query");
  wanted.language = textOf(filter, "QueryLanguage");
  wanted.sourceNamespace = sourceNamespace(filter, nameSpace_);
  wanted.name = filter.path.toText();
  const broker::SubscribeResult result =
      broker_.subscribe(wanted, [this, destination](const Instance& indication) {
        exporter_.enqueue(destination, indication);
      });
  if (!result.ok()) {
    deactivate(entry);
    throw CimError(result.rc, result.message.value_or("the filter was refused"));
  }
  entry.subscription = result.id;
}

/// Unsubscribes, and drops the destination's queue when no other subscription uses it.
void Subscriptions::deactivate(Entry& entry) {
  if (entry.subscription != 0) broker_.unsubscribe(std::exchange(entry.subscription, 0));
  const std::optional<Destination> destination = std::exchange(entry.destination, std::nullopt);
  const bool stillUsed = std::any_of(entries_.begin(), entries_.end(), [&](const auto& other) {
    return other->destination == destination;
  });
  if (destination && !stillUsed) exporter_.forget(*destination);
}

void Subscriptions::activateOrTell(Entry& entry) try {
  activate(entry);
} catch (const CimError& error) {
  log(LogLevel::kError,
      "subscription " + entry.instance.path.toText() + " cannot be restored: " + error.what());
}

ObjectPath Subscriptions::create(const Instance& given, const std::string& creator) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto entry = std::make_unique<Entry>();
  entry->instance = complete(given);
  entry->creator = creator;
  ObjectPath path = entry->instance.path;
  if (find(path) != nullptr) throw CimError(CMPI_RC_ERR_ALREADY_EXISTS, "Instance already exists");
  check(*entry);
  entry->bytes = bytesOf({entry->instance, creator});
  if (entries_.size() >= settings_.objects || bytes_ + entry->bytes > settings_.bytes) {
    throw CimError(CMPI_RC_ERR_FAILED, "there are too many indication objects, or too large ones");
  }
  Entry& added = *entries_.emplace_back(std::move(entry));
  try {
    if (classes_.isA(path.className, kSubscription)) activate(added);
    save();
  } catch (...) {
    deactivate(added);
    entries_.pop_back();
    throw;
  }
  bytes_ += added.bytes;
  return path;
}

std::vector<Subscriptions::Entry*> Subscriptions::usersOf(Entry& entry) const {
  if (classes_.isA(entry.instance.path.className, kSubscription)) return {&entry};
  std::vector<Entry*> users;
  for (const auto& other : entries_) {
    if (refersTo(other->instance, entry.instance.path)) users.push_back(other.get());
  }
  return users;
}

void Subscriptions::modify(const Instance& given, const broker::PropertyList& properties) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = require(given.path);
  Entry changed;
  changed.instance = entry.instance;
  changed.creator = entry.creator;
  const broker::ClassDefinition& definition = *classes_.find(entry.instance.path.className);
  for (broker::Property& property : changed.instance.properties) {
    const broker::PropertyDefinition& declared = *definition.property(property.name);
    const Value* value = given.property(property.name);
    if (declared.key || value == nullptr || !isListed(properties, property.name)) continue;
    checkType(declared, *value);
    property.value = *value;
  }
  check(changed);
  changed.bytes = bytesOf({changed.instance, changed.creator});
  if (bytes_ - entry.bytes + changed.bytes > settings_.bytes) {
    throw CimError(CMPI_RC_ERR_FAILED, "the indication objects are too large");
  }
  const std::vector<Entry*> users = usersOf(entry);
  for (Entry* user : users) deactivate(*user);
  std::swap(entry.instance, changed.instance);
  std::swap(entry.bytes, changed.bytes);
  try {
    for (Entry* user : users) activate(*user);
    save();
  } catch (...) {
    for (Entry* user : users) deactivate(*user);
    std::swap(entry.instance, changed.instance);
    std::swap(entry.bytes, changed.bytes);
    for (Entry* user : users) activateOrTell(*user);
    throw;
  }
  bytes_ += entry.bytes - changed.bytes;
}

void Subscriptions::remove(const ObjectPath& path) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = require(path);
  const bool isSubscription = classes_.isA(entry.instance.path.className, kSubscription);
  if (!isSubscription && !usersOf(entry).empty()) {
    const bool isFilter = classes_.isA(entry.instance.path.className, kFilter);
    throw CimError(CMPI_RC_ERR_FAILED, isFilter ? "Filter in use" : "Handler in use");
  }
  const auto at = std::find_if(entries_.begin(), entries_.end(),
                               [&](const auto& other) { return other.get() == &entry; });
  const auto index = at - entries_.begin();
  std::unique_ptr<Entry> removed = std::move(*at);
  entries_.erase(at);
  try {
    save();
  } catch (...) {
    entries_.insert(entries_.begin() + index, std::move(removed));
    throw;
  }
  bytes_ -= removed->bytes;
  deactivate(*removed);
}

Instance Subscriptions::get(const ObjectPath& path) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return require(path).instance;
}

std::vector<Instance> Subscriptions::enumerate(const std::string& className) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Instance> instances;
  for (const auto& entry : entries_) {
    if (className.empty() || classes_.isA(entry->instance.path.className, className)) {
      instances.push_back(entry->instance);
    }
  }
  return instances;
}

bool Subscriptions::concerns(const std::string& className) const {
  for (const char* kept : {kFilter, kDestination, kSubscription}) {
    if (classes_.isA(className, kept) || classes_.isA(kept, className)) return true;
  }
  return false;
}

}  // namespace orv::serve
