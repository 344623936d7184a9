#include "tests/serve/test_alerts.h"

#include <mutex>
#include <utility>

#include "cmpi/abi/cmpi_tables.h"

namespace orv::test {
namespace {

struct State {
  std::mutex mutex;  // guards all members
  AlertCalls calls;
  std::string refusal;
};

State& state() {
  static State instance;
  return instance;
}

CMPIStatus ok() { return {CMPI_RC_OK, nullptr}; }

CMPIStatus cleanup(CMPIIndicationMI*, const CMPIContext*, CMPIBoolean) { return ok(); }

CMPIStatus authorizeFilter(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*, const char*,
                           const CMPIObjectPath*, const char*) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (state().refusal.empty()) return ok();
  const CMPIBroker* broker = broker::Broker::cmpi();
  return {CMPI_RC_ERR_ACCESS_DENIED,
          broker->eft->newString(broker, state().refusal.c_str(), nullptr)};
}

CMPIStatus mustPoll(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*, const char*,
                    const CMPIObjectPath*) {
  return ok();
}

CMPIStatus activateFilter(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                          const char* className, const CMPIObjectPath* path, CMPIBoolean) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  ++state().calls.activated;
  state().calls.className = className;
  const CMPIString* nameSpace = path->ft->getNameSpace(path, nullptr);
  state().calls.pathNamespace = nameSpace->ft->getCharPtr(nameSpace, nullptr);
  return ok();
}

CMPIStatus deActivateFilter(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                            const char*, const CMPIObjectPath*, CMPIBoolean) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  ++state().calls.deactivated;
  return ok();
}

CMPIStatus switchIndications(CMPIIndicationMI*, const CMPIContext*) { return ok(); }

CMPIIndicationMI* createIndicationMI(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static CMPIIndicationMIFT table = {200,
                                     200,
                                     "indicationTestAlerts",
                                     cleanup,
                                     authorizeFilter,
                                     mustPoll,
                                     activateFilter,
                                     deActivateFilter,
                                     switchIndications,
                                     switchIndications};
  static CMPIIndicationMI mi = {nullptr, &table};
  return &mi;
}

}  // namespace

AlertCalls alertCalls() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return state().calls;
}

void refuseAlertFilters(const std::string& reason) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().refusal = reason;
}

bool isFirstToWaitForABeat() {
  static bool waited = false;
  return !std::exchange(waited, true);
}

void addAlerts(broker::Broker::Options& options) {
  broker::RegistrationSection section;
  section.className = "T_Alert";
  section.provider = "TestAlerts";
  section.location = "linked";
  section.indication = true;
  section.namespaces = {"root/cimv2"};
  options.registration.push_back(section);
  options.linkedFactories["TestAlerts_Create_IndicationMI"] =
      reinterpret_cast<void*>(&createIndicationMI);
}

void deliverAlert(broker::TestBroker& broker, unsigned number, const std::string& text) {
  broker::RequestScope scope(broker, "TestAlerts", "T_Alert");
  broker::Instance alert;
  alert.path.nameSpace = "root/cimv2";
  alert.path.className = "T_Alert";
  alert.properties = {{"number", broker::Value::ofUnsigned(CMPI_uint32, number)},
                      {"text", broker::Value::ofString(text)}};
  const CMPIBroker* cmpi = scope.broker();
  cmpi->bft->deliverIndication(cmpi, scope.context(), "root/cimv2", scope.make(alert));
}

}  // namespace orv::test
