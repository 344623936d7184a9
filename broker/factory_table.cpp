#include "broker/arguments.h"
#include "broker/arrays.h"
#include "broker/broker_state.h"
#include "broker/broker_tables.h"
#include "broker/date_times.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/object_tools.h"
#include "broker/select_expressions.h"
#include "broker/strings.h"

/// Slots that make objects or examine them.
namespace orv::broker {
namespace {

using Mb = const CMPIBroker*;

CMPIInstance* newInstanceSlot(Mb /*broker*/, const CMPIObjectPath* path, CMPIStatus* out) {
  return newInstance(path, out);
}

CMPIObjectPath* newObjectPath(Mb /*broker*/, const char* nameSpace, const char* className,
                              CMPIStatus* out) {
  answer(out, CMPI_RC_OK);
  return makePath(PathData{std::nullopt, textOf(nameSpace), textOf(className), {}});
}

CMPIArgs* newArgs(Mb /*broker*/, CMPIStatus* out) {
  answer(out, CMPI_RC_OK);
  return makeArguments();
}

CMPIString* newString(Mb /*broker*/, const char* text, CMPIStatus* out) {
  answer(out, CMPI_RC_OK);
  return makeString(textOf(text));
}

CMPIArray* newArray(Mb /*broker*/, CMPICount size, CMPIType elementType, CMPIStatus* out) {
  return makeArrayOfSize(size, elementType, out);
}

CMPIDateTime* newDateTime(Mb /*broker*/, CMPIStatus* out) {
  answer(out, CMPI_RC_OK);
  return makeDateTime(currentDateTime());
}

CMPIDateTime* newDateTimeFromBinary(Mb /*broker*/, CMPIUint64 microseconds, CMPIBoolean interval,
                                    CMPIStatus* out) {
  answer(out, CMPI_RC_OK);
  if (interval == 0 && microseconds > kLatestPointInTime) {
    report("", "", "a date-time after the year 9999 overruns its text: a crash");
  }
  return makeDateTime(dateTimeFromBinary(microseconds, interval != 0));
}

CMPIDateTime* newDateTimeFromChars(Mb /*broker*/, const char* text, CMPIStatus* out) {
  const auto parsed = text != nullptr ? parseDateTime(text) : std::nullopt;
  answer(out, parsed ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
  return parsed ? makeDateTime(*parsed) : nullptr;
}

CMPISelectExp* newSelectExp(Mb /*broker*/, const char* query, const char* language,
                            CMPIArray** projection, CMPIStatus* out) {
  return newSelectExpression(query, language, projection, out);
}

/// Deliberate (contract.md#class-path-is-a): the status is always OK.
CMPIBoolean classPathIsA(Mb /*broker*/, const CMPIObjectPath* record, const char* ancestor,
                         CMPIStatus* out) {
  answer(out, CMPI_RC_OK);
  const PathObject* path = PathObject::own(record);
  if (path == nullptr || ancestor == nullptr || !path->data.className) return 0;
  if (sameName(*path->data.className, ancestor)) return 1;
  const auto broker = currentBroker();
  const auto classes = broker ? broker->classes(path->data.nameSpace.value_or("")) : nullptr;
  return classes && classes->isA(*path->data.className, ancestor) ? 1 : 0;
}

/// Only for paths and instances.
CMPIString* toString(Mb /*broker*/, const void* object, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  if (object == nullptr) return nullptr;
  // In every record the table comes after the handle, so the table shows the kind.
  const auto* path = static_cast<const CMPIObjectPath*>(object);
  if (path->ft == &PathObject::table) return path->ft->toString(path, out);
  const auto* instance = static_cast<const CMPIInstance*>(object);
  if (instance->ft != &InstanceObject::table) return nullptr;
  answer(out, CMPI_RC_OK);
  return makeString(InstanceObject::own(instance)->data.toPlain().toText());
}

CMPIBoolean isOfType(Mb /*broker*/, const void* /*object*/, const char* /*type*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return 0;
}

CMPIString* getType(Mb /*broker*/, const void* /*object*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return nullptr;
}

/// Deliberate (contract.md#get-message): the default text comes with a status of 7.
CMPIString* getMessage(Mb /*broker*/, const char* /*id*/, const char* defaultText, CMPIStatus* out,
                       CMPICount /*count*/, ...) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return makeString(textOf(defaultText));
}

CMPIStatus logMessage(Mb /*broker*/, int /*severity*/, const char* /*id*/, const char* /*text*/,
                      const CMPIString* /*string*/) {
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus trace(Mb /*broker*/, int /*level*/, const char* /*component*/, const char* /*text*/,
                 const CMPIString* /*string*/) {
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

}  // namespace

CMPIBrokerEncFT* factoryTable() {
  static CMPIBrokerEncFT table = {1,
                                  slot<newInstanceSlot>,
                                  slot<newObjectPath>,
                                  slot<newArgs>,
                                  slot<newString>,
                                  slot<newArray>,
                                  slot<newDateTime>,
                                  slot<newDateTimeFromBinary>,
                                  slot<newDateTimeFromChars>,
                                  slot<newSelectExp>,
                                  slot<classPathIsA>,
                                  slot<toString>,
                                  isOfType,
                                  getType,
                                  getMessage,
                                  logMessage,
                                  trace,
                                  nullptr,
                                  nullptr,
                                  nullptr,
                                  nullptr};
  return &table;
}

}  // namespace orv::broker
