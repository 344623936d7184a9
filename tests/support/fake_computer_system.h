#pragma once

#include <atomic>

/// The computer system of a test that links no platform: "host-7" of "OMC_UnitaryComputerSystem".
namespace orv::test {

/// Calls of getComputerSystemName so far.
extern std::atomic<int> systemNamesAsked;

}  // namespace orv::test
