#include "broker/testing/faults.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <utility>

#include "broker/arguments.h"
#include "broker/arrays.h"
#include "broker/broker.h"
#include "broker/contexts.h"
#include "broker/date_times.h"
#include "broker/enumerations.h"
#include "broker/heap.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"
#include "broker/results.h"
#include "broker/select_conditions.h"
#include "broker/select_expressions.h"
#include "broker/strings.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

struct ArmedFault {
  const BrokerState* broker;
  Fault fault;
};

/// Never destroyed, because threads of providers may outlive main.
struct Faults {
  std::mutex mutex;  // guards armed; innermost
  std::vector<ArmedFault> armed;
  std::atomic<bool> any{false};  // cheap to read in every call of every slot
};

Faults& faults() {
  static auto* all = new Faults;
  return *all;
}

/// Counts a call; true when the fault affects it.
bool hits(Fault& fault) {
  if (fault.skip > 0) {
    --fault.skip;
    return false;
  }
  if (fault.times == 0) return false;
  if (fault.times > 0) --fault.times;
  return true;
}

/// The first fault that affects this call of a slot. Counts the call for every fault of the slot.
std::optional<Fault> dueFault(const char* slot) {
  if (!faults().any) return std::nullopt;
  const auto broker = currentBroker();
  const std::lock_guard<std::mutex> lock(faults().mutex);
  std::optional<Fault> due;
  for (ArmedFault& candidate : faults().armed) {
    Fault& fault = candidate.fault;
    if (candidate.broker != broker.get() || fault.slot != slot || !hits(fault) || due) continue;
    due = fault;
    if (due->effect != Fault::Effect::kStatus) due->rc = CMPI_RC_OK;
  }
  return due;
}

template <class Result>
Result faulty(const Fault& fault) {
  if constexpr (std::is_same_v<Result, CMPIStatus>) {
    return status(fault.rc);
  } else if constexpr (std::is_same_v<Result, CMPIData>) {
    CMPIData data = notFoundData();
    if (fault.effect != Fault::Effect::kStatus) {
      data.type = CMPI_string;
      data.state = CMPI_nullValue;
    }
    return data;
  } else if constexpr (std::is_same_v<Result, CMPIString*>) {
    return fault.effect == Fault::Effect::kNullText ? makeString(std::nullopt) : nullptr;
  } else {
    return Result{};
  }
}

void answerIfAsked(CMPIStatus* out, CMPIrc rc) { answer(out, rc); }
template <class Other>
void answerIfAsked(const Other& /*argument*/, CMPIrc /*rc*/) {}

std::vector<std::string>& slotNames() {
  static auto* names = new std::vector<std::string>;
  return *names;
}

/// One slot of a table: the original function, and the one that replaces it.
template <auto Member>
struct Slot;

template <class Table, class Result, class... Arguments, Result (*Table::*Member)(Arguments...)>
struct Slot<Member> {
  static inline Result (*original)(Arguments...) = nullptr;
  static inline const char* name = nullptr;

  static Result call(Arguments... arguments) {
    if (const auto fault = dueFault(name)) {
      answerIfAsked(std::get<sizeof...(Arguments) - 1>(std::tie(arguments...)), fault->rc);
      return faulty<Result>(*fault);
    }
    return original(arguments...);
  }

  static void decorate(Table* table, const char* slotName) {
    name = slotName;
    original = std::exchange(table->*Member, call);
    slotNames().push_back(slotName);
  }
};

template <auto Member, class Table>
void decorate(Table* table, const char* name) {
  Slot<Member>::decorate(table, name);
}

void decorateBrokerTable(CMPIBrokerFT* table) {
  decorate<&CMPIBrokerFT::prepareAttachThread>(table, "bft.prepareAttachThread");
  decorate<&CMPIBrokerFT::attachThread>(table, "bft.attachThread");
  decorate<&CMPIBrokerFT::detachThread>(table, "bft.detachThread");
  decorate<&CMPIBrokerFT::deliverIndication>(table, "bft.deliverIndication");
  decorate<&CMPIBrokerFT::enumerateInstanceNames>(table, "bft.enumerateInstanceNames");
  decorate<&CMPIBrokerFT::getInstance>(table, "bft.getInstance");
  decorate<&CMPIBrokerFT::createInstance>(table, "bft.createInstance");
  decorate<&CMPIBrokerFT::modifyInstance>(table, "bft.modifyInstance");
  decorate<&CMPIBrokerFT::deleteInstance>(table, "bft.deleteInstance");
  decorate<&CMPIBrokerFT::execQuery>(table, "bft.execQuery");
  decorate<&CMPIBrokerFT::enumerateInstances>(table, "bft.enumerateInstances");
  decorate<&CMPIBrokerFT::associators>(table, "bft.associators");
  decorate<&CMPIBrokerFT::associatorNames>(table, "bft.associatorNames");
  decorate<&CMPIBrokerFT::references>(table, "bft.references");
  decorate<&CMPIBrokerFT::referenceNames>(table, "bft.referenceNames");
  decorate<&CMPIBrokerFT::invokeMethod>(table, "bft.invokeMethod");
  decorate<&CMPIBrokerFT::setProperty>(table, "bft.setProperty");
  decorate<&CMPIBrokerFT::getProperty>(table, "bft.getProperty");
}

void decorateBrokerEncTable(CMPIBrokerEncFT* table) {
  decorate<&CMPIBrokerEncFT::newInstance>(table, "eft.newInstance");
  decorate<&CMPIBrokerEncFT::newObjectPath>(table, "eft.newObjectPath");
  decorate<&CMPIBrokerEncFT::newArgs>(table, "eft.newArgs");
  decorate<&CMPIBrokerEncFT::newString>(table, "eft.newString");
  decorate<&CMPIBrokerEncFT::newArray>(table, "eft.newArray");
  decorate<&CMPIBrokerEncFT::newDateTime>(table, "eft.newDateTime");
  decorate<&CMPIBrokerEncFT::newDateTimeFromBinary>(table, "eft.newDateTimeFromBinary");
  decorate<&CMPIBrokerEncFT::newDateTimeFromChars>(table, "eft.newDateTimeFromChars");
  decorate<&CMPIBrokerEncFT::newSelectExp>(table, "eft.newSelectExp");
  decorate<&CMPIBrokerEncFT::classPathIsA>(table, "eft.classPathIsA");
  decorate<&CMPIBrokerEncFT::toString>(table, "eft.toString");
  decorate<&CMPIBrokerEncFT::isOfType>(table, "eft.isOfType");
  decorate<&CMPIBrokerEncFT::getType>(table, "eft.getType");
  decorate<&CMPIBrokerEncFT::logMessage>(table, "eft.logMessage");
  decorate<&CMPIBrokerEncFT::trace>(table, "eft.trace");
}

void decorateBrokerMemTable(CMPIBrokerMemFT* table) {
  decorate<&CMPIBrokerMemFT::mark>(table, "mft.mark");
  decorate<&CMPIBrokerMemFT::release>(table, "mft.release");
}

void decorateContextTable(CMPIContextFT* table) {
  decorate<&CMPIContextFT::release>(table, "context.release");
  decorate<&CMPIContextFT::clone>(table, "context.clone");
  decorate<&CMPIContextFT::getEntry>(table, "context.getEntry");
  decorate<&CMPIContextFT::getEntryAt>(table, "context.getEntryAt");
  decorate<&CMPIContextFT::getEntryCount>(table, "context.getEntryCount");
  decorate<&CMPIContextFT::addEntry>(table, "context.addEntry");
}

void decorateResultTable(CMPIResultFT* table) {
  decorate<&CMPIResultFT::release>(table, "result.release");
  decorate<&CMPIResultFT::clone>(table, "result.clone");
  decorate<&CMPIResultFT::returnData>(table, "result.returnData");
  decorate<&CMPIResultFT::returnInstance>(table, "result.returnInstance");
  decorate<&CMPIResultFT::returnObjectPath>(table, "result.returnObjectPath");
  decorate<&CMPIResultFT::returnDone>(table, "result.returnDone");
}

void decorateStringTable(CMPIStringFT* table) {
  decorate<&CMPIStringFT::release>(table, "string.release");
  decorate<&CMPIStringFT::clone>(table, "string.clone");
  decorate<&CMPIStringFT::getCharPtr>(table, "string.getCharPtr");
}

void decorateArrayTable(CMPIArrayFT* table) {
  decorate<&CMPIArrayFT::release>(table, "array.release");
  decorate<&CMPIArrayFT::clone>(table, "array.clone");
  decorate<&CMPIArrayFT::getSize>(table, "array.getSize");
  decorate<&CMPIArrayFT::getSimpleType>(table, "array.getSimpleType");
  decorate<&CMPIArrayFT::getElementAt>(table, "array.getElementAt");
  decorate<&CMPIArrayFT::setElementAt>(table, "array.setElementAt");
}

void decorateEnumerationTable(CMPIEnumerationFT* table) {
  decorate<&CMPIEnumerationFT::release>(table, "enumeration.release");
  decorate<&CMPIEnumerationFT::clone>(table, "enumeration.clone");
  decorate<&CMPIEnumerationFT::getNext>(table, "enumeration.getNext");
  decorate<&CMPIEnumerationFT::hasNext>(table, "enumeration.hasNext");
  decorate<&CMPIEnumerationFT::toArray>(table, "enumeration.toArray");
}

void decorateInstanceTable(CMPIInstanceFT* table) {
  decorate<&CMPIInstanceFT::release>(table, "instance.release");
  decorate<&CMPIInstanceFT::clone>(table, "instance.clone");
  decorate<&CMPIInstanceFT::getProperty>(table, "instance.getProperty");
  decorate<&CMPIInstanceFT::getPropertyAt>(table, "instance.getPropertyAt");
  decorate<&CMPIInstanceFT::getPropertyCount>(table, "instance.getPropertyCount");
  decorate<&CMPIInstanceFT::setProperty>(table, "instance.setProperty");
  decorate<&CMPIInstanceFT::getObjectPath>(table, "instance.getObjectPath");
  decorate<&CMPIInstanceFT::setPropertyFilter>(table, "instance.setPropertyFilter");
  decorate<&CMPIInstanceFT::setObjectPath>(table, "instance.setObjectPath");
}

void decorateObjectPathTable(CMPIObjectPathFT* table) {
  decorate<&CMPIObjectPathFT::release>(table, "path.release");
  decorate<&CMPIObjectPathFT::clone>(table, "path.clone");
  decorate<&CMPIObjectPathFT::setNameSpace>(table, "path.setNameSpace");
  decorate<&CMPIObjectPathFT::getNameSpace>(table, "path.getNameSpace");
  decorate<&CMPIObjectPathFT::setHostname>(table, "path.setHostname");
  decorate<&CMPIObjectPathFT::getHostname>(table, "path.getHostname");
  decorate<&CMPIObjectPathFT::setClassName>(table, "path.setClassName");
  decorate<&CMPIObjectPathFT::getClassName>(table, "path.getClassName");
  decorate<&CMPIObjectPathFT::addKey>(table, "path.addKey");
  decorate<&CMPIObjectPathFT::getKey>(table, "path.getKey");
  decorate<&CMPIObjectPathFT::getKeyAt>(table, "path.getKeyAt");
  decorate<&CMPIObjectPathFT::getKeyCount>(table, "path.getKeyCount");
  decorate<&CMPIObjectPathFT::setNameSpaceFromObjectPath>(table, "path.setNameSpaceFromObjectPath");
  decorate<&CMPIObjectPathFT::setHostAndNameSpaceFromObjectPath>(
      table, "path.setHostAndNameSpaceFromObjectPath");
  decorate<&CMPIObjectPathFT::getPropertyQualifier>(table, "path.getPropertyQualifier");
  decorate<&CMPIObjectPathFT::toString>(table, "path.toString");
}

void decorateArgsTable(CMPIArgsFT* table) {
  decorate<&CMPIArgsFT::release>(table, "arguments.release");
  decorate<&CMPIArgsFT::clone>(table, "arguments.clone");
  decorate<&CMPIArgsFT::addArg>(table, "arguments.addArg");
  decorate<&CMPIArgsFT::getArg>(table, "arguments.getArg");
  decorate<&CMPIArgsFT::getArgAt>(table, "arguments.getArgAt");
  decorate<&CMPIArgsFT::getArgCount>(table, "arguments.getArgCount");
}

void decorateDateTimeTable(CMPIDateTimeFT* table) {
  decorate<&CMPIDateTimeFT::release>(table, "dateTime.release");
  decorate<&CMPIDateTimeFT::clone>(table, "dateTime.clone");
  decorate<&CMPIDateTimeFT::getBinaryFormat>(table, "dateTime.getBinaryFormat");
  decorate<&CMPIDateTimeFT::getStringFormat>(table, "dateTime.getStringFormat");
  decorate<&CMPIDateTimeFT::isInterval>(table, "dateTime.isInterval");
}

void decorateSelectExpTable(CMPISelectExpFT* table) {
  decorate<&CMPISelectExpFT::release>(table, "selectExp.release");
  decorate<&CMPISelectExpFT::clone>(table, "selectExp.clone");
  decorate<&CMPISelectExpFT::evaluate>(table, "selectExp.evaluate");
  decorate<&CMPISelectExpFT::getString>(table, "selectExp.getString");
  decorate<&CMPISelectExpFT::getDOC>(table, "selectExp.getDOC");
  decorate<&CMPISelectExpFT::getCOD>(table, "selectExp.getCOD");
  decorate<&CMPISelectExpFT::evaluateUsingAccessor>(table, "selectExp.evaluateUsingAccessor");
}

void decorateSelectCondTable(CMPISelectCondFT* table) {
  decorate<&CMPISelectCondFT::release>(table, "selectCond.release");
  decorate<&CMPISelectCondFT::clone>(table, "selectCond.clone");
  decorate<&CMPISelectCondFT::getCountAndType>(table, "selectCond.getCountAndType");
  decorate<&CMPISelectCondFT::getSubCondAt>(table, "selectCond.getSubCondAt");
}

void decorateSubCondTable(CMPISubCondFT* table) {
  decorate<&CMPISubCondFT::release>(table, "subCond.release");
  decorate<&CMPISubCondFT::clone>(table, "subCond.clone");
  decorate<&CMPISubCondFT::getCount>(table, "subCond.getCount");
  decorate<&CMPISubCondFT::getPredicateAt>(table, "subCond.getPredicateAt");
  decorate<&CMPISubCondFT::getPredicate>(table, "subCond.getPredicate");
}

void decoratePredicateTable(CMPIPredicateFT* table) {
  decorate<&CMPIPredicateFT::release>(table, "predicate.release");
  decorate<&CMPIPredicateFT::clone>(table, "predicate.clone");
  decorate<&CMPIPredicateFT::getData>(table, "predicate.getData");
  decorate<&CMPIPredicateFT::evaluateUsingAccessor>(table, "predicate.evaluateUsingAccessor");
}

/// Finds the tables of objects by making an object of each kind.
void decorateAll() {
  const CMPIBroker* record = Broker::cmpi();
  decorateBrokerTable(record->bft);
  decorateBrokerEncTable(record->eft);
  decorateBrokerMemTable(record->mft);
  const HeapScope memory;
  const CMPISelectCond* condition = makeSelectCondition({{WqlComparison()}}, true);
  const CMPISubCond* part = condition->ft->getSubCondAt(condition, 0, nullptr);
  const CMPIPredicate* predicate = part->ft->getPredicateAt(part, 0, nullptr);
  decorateContextTable(
      makeObject<ContextObject>(ContextObject::Purpose::kCleanup, std::weak_ptr<BrokerState>(), "")
          ->ft);
  decorateResultTable(makeResult(ResultUse::kClientGet)->ft);
  decorateStringTable(makeString(std::nullopt)->ft);
  decorateArrayTable(makeArray(CMPI_uint8, {})->ft);
  decorateEnumerationTable(makeEnumeration({})->ft);
  decorateInstanceTable(makeInstance(InstanceData("", "", nullptr))->ft);
  decorateObjectPathTable(makePath({})->ft);
  decorateArgsTable(makeArguments()->ft);
  decorateDateTimeTable(makeDateTime({})->ft);
  decorateSelectExpTable(makeSelectExpression(nullptr)->ft);
  decorateSelectCondTable(condition->ft);
  decorateSubCondTable(part->ft);
  decoratePredicateTable(predicate->ft);
}

}  // namespace

void decorateTables() {
  static std::once_flag once;
  std::call_once(once, decorateAll);
}

const std::vector<std::string>& faultSlots() {
  decorateTables();
  return slotNames();
}

void armFault(const BrokerState& broker, Fault fault) {
  const auto& known = faultSlots();
  if (std::find(known.begin(), known.end(), fault.slot) == known.end()) {
    throw std::invalid_argument("the broker has no slot " + fault.slot);
  }
  const std::lock_guard<std::mutex> lock(faults().mutex);
  faults().armed.push_back({&broker, std::move(fault)});
  faults().any = true;
}

void disarmFaults(const BrokerState& broker) {
  const std::lock_guard<std::mutex> lock(faults().mutex);
  auto& armed = faults().armed;
  armed.erase(
      std::remove_if(armed.begin(), armed.end(),
                     [&broker](const ArmedFault& fault) { return fault.broker == &broker; }),
      armed.end());
  faults().any = !armed.empty();
}

std::size_t faultsToCome(const BrokerState& broker) {
  const std::lock_guard<std::mutex> lock(faults().mutex);
  const auto comes = [&broker](const ArmedFault& armed) {
    return armed.broker == &broker && armed.fault.times > 0;
  };
  const auto& armed = faults().armed;
  return static_cast<std::size_t>(std::count_if(armed.begin(), armed.end(), comes));
}

}  // namespace orv::broker
