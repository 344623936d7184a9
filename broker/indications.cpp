#include "broker/indications.h"

#include <algorithm>
#include <new>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/provider_call.h"
#include "broker/request_context.h"
#include "broker/select_expressions.h"
#include "broker/strings.h"
#include "broker/thread_state.h"

namespace orv::broker {

struct IndicationHub::Subscription {
  SubscriptionId id = 0;
  // Guards the members below and is held while the handler runs; recursive, for a handler that
  // causes another indication or ends its own subscription.
  std::recursive_mutex mutex;
  bool active = true;
  std::int64_t sequence = 0;
  IndicationHandler handler;
};

struct IndicationHub::Filter {
  IndicationFilter text;
  std::shared_ptr<const WqlQuery> query;
  std::vector<Section*> sections;                            // where it is active
  std::vector<std::shared_ptr<Subscription>> subscriptions;  // guarded by the hub's mutex_
};

namespace {

/// The common arguments of all calls about a filter, in the calling thread's memory.
struct FilterCall {
  CMPIIndicationMI* mi;
  const CMPIContext* context;
  const CMPISelectExp* expression;
  const char* className;
  const CMPIObjectPath* path;
};

FilterCall makeFilterCall(BrokerState& broker, const Section& section, const IndicationFilter& text,
                          const std::shared_ptr<const WqlQuery>& query) {
  PathData path;
  path.nameSpace = text.sourceNamespace;
  path.className = query->className;
  return {section.indication, makeRequestContext(broker, section.registration.provider, 0),
          makeSelectExpression(query), query->className.c_str(), makePath(std::move(path))};
}

/// The last argument of activateFilter and deActivateFilter.
constexpr CMPIBoolean kFirstActivation = 1;  // Deliberate (contract.md#filter-calls).

/// Calls one slot of an indication provider. A null slot and an exception are reported.
template <class... Arguments>
CMPIStatus callGuarded(const char* name, Arguments... arguments) try {
  return callSlot(name, arguments...);
} catch (...) {
  reportException(name);
  return status(CMPI_RC_ERR_FAILED);
}

/// Sets the properties that the broker itself writes, if the indication's class has them.
void stamp(Instance& indication, const std::string& filterName, std::int64_t sequence) {
  for (Property& property : indication.properties) {
    if (sameName(property.name, "SequenceNumber")) {
      property.value = Value::ofSigned(CMPI_sint64, sequence);
    } else if (sameName(property.name, "SequenceContext") ||
               sameName(property.name, "IndicationFilterName")) {
      property.value = Value::ofString(filterName);
    }
  }
}

}  // namespace

IndicationHub::IndicationHub() = default;
IndicationHub::~IndicationHub() = default;

IndicationHub::FilterPointer IndicationHub::findNamed(const std::string& name) const {
  if (name.empty()) return nullptr;
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const FilterPointer& filter : filters_) {
    if (filter->text.name == name) return filter;
  }
  return nullptr;
}

IndicationHub::FilterPointer IndicationHub::filterOf(SubscriptionId id) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const FilterPointer& filter : filters_) {
    for (const auto& subscription : filter->subscriptions) {
      if (subscription->id == id) return filter;
    }
  }
  return nullptr;
}

void IndicationHub::forget(const FilterPointer& filter) {
  const std::lock_guard<std::mutex> lock(mutex_);
  filters_.erase(std::remove(filters_.begin(), filters_.end(), filter), filters_.end());
}

SubscribeResult IndicationHub::subscribe(BrokerState& broker, const IndicationFilter& text,
                                         IndicationHandler handler) {
  const std::lock_guard<std::recursive_mutex> change(changes_);
  auto subscription = std::make_shared<Subscription>();
  subscription->handler = std::move(handler);
  FilterPointer filter = findNamed(text.name);
  if (filter && (filter->text.query != text.query ||
                 !sameName(filter->text.sourceNamespace, text.sourceNamespace))) {
    return {CMPI_RC_ERR_ALREADY_EXISTS, "Filter " + text.name + " exists already.", 0};
  }
  const bool isNew = !filter;
  if (isNew) {
    if (!isKnownQueryLanguage(text.language)) {
      return {CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED,
              "Query language " + text.language + " is not supported.", 0};
    }
    filter = std::make_shared<Filter>();
    filter->text = text;
    try {
      filter->query = std::make_shared<const WqlQuery>(parseWql(text.query));
    } catch (const WqlError& error) {
      return {CMPI_RC_ERR_INVALID_QUERY, std::string("Invalid query: ") + error.what(), 0};
    }
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    subscription->id = ++lastId_;
    filter->subscriptions.push_back(subscription);
    if (isNew) filters_.push_back(filter);
  }
  SubscribeResult subscribed{CMPI_RC_OK, std::nullopt, subscription->id};
  if (!isNew) return subscribed;  // Deliberate (contract.md#first-subscription).
  CMPIStatus activated = status(CMPI_RC_ERR_FAILED);
  try {
    activated = activate(broker, filter);
  } catch (...) {  // later subscriptions would take a filter that stays for an active one
    deactivate(broker, *filter);
    forget(filter);
    throw;
  }
  if (activated.rc == CMPI_RC_OK) return subscribed;
  forget(filter);
  return {activated.rc, textOf(activated.msg), 0};
}

CMPIStatus IndicationHub::activate(BrokerState& broker, const FilterPointer& filter) {
  const auto classes = broker.classes(filter->text.sourceNamespace);
  if (!classes) return status(CMPI_RC_ERR_INVALID_NAMESPACE, "Invalid namespace");
  for (const char* root : {"CIM_Indication", "CIM_InstIndication"}) {
    if (!sameName(filter->query->className, root)) continue;
    return status(CMPI_RC_ERR_NOT_SUPPORTED, std::string("A filter on ") + root + " itself.");
  }
  for (Section& section : broker.providers.sections()) {
    const RegistrationSection& registration = section.registration;
    if (!registration.indication || !servesNamespace(registration, filter->text.sourceNamespace) ||
        !classes->isA(registration.className, filter->query->className)) {
      continue;
    }
    const CMPIStatus activated = activateOn(broker, filter, section);
    if (activated.rc == CMPI_RC_OK) continue;
    deactivate(broker, *filter);
    return activated;
  }
  if (!filter->sections.empty()) return status(CMPI_RC_OK);
  return status(CMPI_RC_ERR_FAILED,
                "No indication provider for class " + filter->query->className + ".");
}

CMPIStatus IndicationHub::activateOn(BrokerState& broker, const FilterPointer& filter,
                                     Section& section) {
  const LoadOutcome loaded = broker.providers.load(section);
  if (loaded.rc != CMPI_RC_OK) return status(loaded.rc, loaded.message);
  const ProviderFrame frame(section.registration.provider, filter->query->className);
  const FilterCall call = makeFilterCall(broker, section, filter->text, filter->query);
  const CMPIIndicationMIFT& table = *call.mi->ft;
  const auto& principal = broker.options.principal;
  const char* owner = principal ? principal->c_str() : nullptr;
  const CMPIStatus authorized =
      callGuarded("authorizeFilter", table.authorizeFilter, call.mi, call.context, call.expression,
                  call.className, call.path, owner);
  if (authorized.rc != CMPI_RC_OK) return authorized;
  filter->sections.reserve(filter->sections.size() + 1);  // once it is active nothing may fail
  // Deliberate (contract.md#filter-calls).
  callGuarded("mustPoll", table.mustPoll, call.mi, call.context, call.expression, call.className,
              call.path);
  const CMPIStatus activated =
      callGuarded("activateFilter", table.activateFilter, call.mi, call.context, call.expression,
                  call.className, call.path, kFirstActivation);
  if (activated.rc != CMPI_RC_OK) return activated;
  filter->sections.push_back(&section);
  if (section.enabled.exchange(true)) return activated;
  callGuarded("enableIndications", table.enableIndications, call.mi, call.context);
  return activated;
}

CMPIStatus IndicationHub::deactivate(BrokerState& broker, const Filter& filter) {
  CMPIStatus outcome = status(CMPI_RC_OK);
  for (const Section* section : filter.sections) {
    if (section->indication == nullptr) continue;  // unloaded meanwhile
    const CMPIStatus answered = deactivateOn(broker, filter, *section);
    if (outcome.rc == CMPI_RC_OK) outcome = answered;
  }
  return outcome;
}

/// Without memory this provider is left out, and the caller goes on with the others.
CMPIStatus IndicationHub::deactivateOn(BrokerState& broker, const Filter& filter,
                                       const Section& section) try {
  const ProviderFrame frame(section.registration.provider, filter.query->className);
  const FilterCall call = makeFilterCall(broker, section, filter.text, filter.query);
  return callGuarded("deActivateFilter", call.mi->ft->deActivateFilter, call.mi, call.context,
                     call.expression, call.className, call.path, kFirstActivation);
} catch (const std::bad_alloc&) {
  return status(CMPI_RC_ERR_FAILED);
}

void IndicationHub::silence(SubscriptionId id) {
  std::shared_ptr<Subscription> found;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const FilterPointer& filter : filters_) {
      for (const auto& subscription : filter->subscriptions) {
        if (subscription->id == id) found = subscription;
      }
    }
  }
  if (!found) return;
  const std::lock_guard<std::recursive_mutex> lock(found->mutex);
  found->active = false;
}

void IndicationHub::silenceAll() {
  std::vector<SubscriptionId> ids;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const FilterPointer& filter : filters_) {
      for (const auto& subscription : filter->subscriptions) ids.push_back(subscription->id);
    }
  }
  for (const SubscriptionId id : ids) silence(id);
}

CMPIStatus IndicationHub::remove(BrokerState& broker, SubscriptionId id) {
  const std::lock_guard<std::recursive_mutex> change(changes_);
  const FilterPointer filter = filterOf(id);
  if (!filter) return status(CMPI_RC_ERR_NOT_FOUND, "No such subscription.");
  bool last = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& list = filter->subscriptions;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [id](const auto& subscription) { return subscription->id == id; }),
               list.end());
    last = list.empty();
  }
  if (!last) return status(CMPI_RC_OK);
  const CMPIStatus outcome = deactivate(broker, *filter);
  forget(filter);
  return outcome;
}

void IndicationHub::deliver(InstanceData& instance) {
  std::vector<FilterPointer> filters;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    filters = filters_;
  }
  for (const FilterPointer& filter : filters) {
    if (!selects(*filter->query, instance)) continue;
    // Deliberate (contract.md#projection): the caller's own instance, for later deliveries too.
    if (filter->query->projection) instance.applyFilter(*filter->query->projection);
    std::vector<std::shared_ptr<Subscription>> subscriptions;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      subscriptions = filter->subscriptions;
    }
    for (const auto& subscription : subscriptions) {
      const std::lock_guard<std::recursive_mutex> lock(subscription->mutex);
      if (!subscription->active || !subscription->handler) continue;
      Instance indication = instance.toPlain();
      stamp(indication, filter->text.name, subscription->sequence++);
      try {
        subscription->handler(indication);
      } catch (...) {
        report(instance.className(), "", "an exception leaves the subscription's handler");
      }
    }
  }
}

CMPIStatus disableIndications(Section& section, const CMPIContext* context) {
  const ProviderFrame frame(section.registration.provider, section.registration.className);
  section.enabled = false;
  CMPIIndicationMI* mi = section.indication;
  if (mi == nullptr) return status(CMPI_RC_OK);
  return callGuarded("disableIndications", mi->ft->disableIndications, mi, context);
}

CMPIStatus deliverIndication(const CMPIContext* context, const CMPIInstance* indication) {
  const ContextObject* own = liveContext(context, "deliverIndication");
  if (own == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (indication == nullptr) {
    report("", "", "deliverIndication without an instance: a crash");
    return status(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  auto* instance = InstanceObject::own(indication);
  if (instance == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  auto broker = own->broker.lock();
  if (!broker) broker = currentBroker();
  if (!broker) return status(CMPI_RC_ERR_FAILED);
  InstanceData& data = instance->data;
  if (!broker->layout(data.nameSpace(), data.className())) {
    report(data.className(), "",
           "deliverIndication of a class that namespace \"" + data.nameSpace() +
               "\" does not know: a crash, also without any subscription");
    return status(CMPI_RC_ERR_FAILED);
  }
  broker->indications.deliver(data);
  return status(CMPI_RC_OK);
}

}  // namespace orv::broker
