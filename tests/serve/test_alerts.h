#pragma once

#include <string>

#include "broker/testing/test_broker.h"

/// A C provider of indications that a test delivers when it likes: class T_Alert with `number` and
/// `text`.
namespace orv::test {

struct AlertCalls {
  int activated = 0;
  int deactivated = 0;
  std::string className;      ///< of the last activation
  std::string pathNamespace;  ///< namespace of its path
};

/// What the provider was called with so far in this process.
AlertCalls alertCalls();

/// What authorizeFilter answers from now on: status 2 and this text; an empty text: OK.
void refuseAlertFilters(const std::string& reason);

/// Adds the class to a schema, section and factory to the options.
constexpr const char* kAlertMof =
    "class T_Alert : CIM_ProcessIndication { uint32 number; string text; };";
void addAlerts(broker::Broker::Options& options);

/// The library's sender of heartbeats starts once in a process, and its next beat is minutes away:
/// true for the first test that asks.
bool isFirstToWaitForABeat();

/// Delivers one, as a provider's thread does.
void deliverAlert(broker::TestBroker& broker, unsigned number, const std::string& text = "alert");

}  // namespace orv::test
