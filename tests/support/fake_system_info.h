#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/system_info.h"

namespace orv::test {

/// The kernel information interface of a test: linked in place of a platform's. It keeps what it is
/// asked, fails where it is told to, and counts the parameter lists that are alive.
///
/// One for the program, not locked: for tests that query from one thread.
struct FakeSystemInfo {
  using Bytes = std::vector<std::uint8_t>;

  bool signatureOk = true;
  std::map<std::uint32_t, Bytes> hostValues;  ///< of nodes without instances
  std::map<std::uint32_t, std::vector<std::int32_t>> instances;
  std::map<std::pair<std::uint32_t, std::int32_t>, Bytes> instanceValues;  ///< by node, instance

  std::map<std::uint32_t, HSI_Status> failingReads;  ///< every read of the node
  std::map<std::uint32_t, HSI_Status> failingLists;
  std::set<std::pair<std::uint32_t, std::int32_t>> failingInstances;  ///< fail with status 9
  int creationsBeforeFailure = -1;  ///< HSI_ParamListCreate; -1: never fails

  std::vector<int> signatures;       ///< what HSI_CheckSig was asked
  std::vector<std::string> queries;  ///< "get 605", "list 608", "get 607[3]", in order
  int liveLists = 0;

  template <typename Value>
  static Bytes bytesOf(const Value& value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
  }

  static FakeSystemInfo& instance();
  /// Forgets everything but the lists that are alive.
  static FakeSystemInfo& reset();
};

}  // namespace orv::test
