#include "health/monitor_state.h"

namespace OrvLatchedHealth {

MonitorState& monitorState() {
  static auto* const state = new MonitorState;  // never freed, see MonitorState
  return *state;
}

namespace {

/// Makes the state when the library is loaded.
[[maybe_unused]] MonitorState& madeAtLoad = monitorState();

}  // namespace

}  // namespace OrvLatchedHealth
