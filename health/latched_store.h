#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "cmpi/cmpi_object_path.h"

namespace OrvLatchedHealth {

/// HealthState of an element without a fault.
constexpr std::uint16_t kHealthOk = 5;

/// One key of an element. The name is null when the element's path gave none.
struct HealthKey {
  std::unique_ptr<char[]> name;
  std::unique_ptr<char[]> value;
};

/// The latched health of one element. Texts end with a NUL and are cut to the size of their buffer;
/// a record that does not give back its element's path, because a text was cut, is never stored.
struct HealthInfo {
  char className[80];
  char nameSpace[32];
  char hostName[80];       ///< "NULL" when the path has none, empty when it cannot be read
  std::uint32_t keyCount;  ///< never 0 in a stored record
  std::unique_ptr<HealthKey[]> keys;
  std::uint32_t eventId;      ///< of the most recent latch
  std::uint16_t healthState;  ///< worst ever seen
  std::uint32_t timestamp;    ///< when it was latched, seconds since the epoch
};

/// Adds the record's host and keys to a path that has the record's namespace and class.
///
/// A host name that begins with "NULL" is left out, and one that the broker refuses is ignored.
/// False when the name or value of a key is missing or the broker refuses a key. Does not throw.
bool buildPathFromRecord(const HealthInfo& record, CmpiObjectPath& path);

/// The path of the record's element; absent when buildPathFromRecord fails.
///
/// Fails: CmpiStatus when the broker makes no path.
std::optional<CmpiObjectPath> elementPath(const HealthInfo& record);

/// The latched states of all elements that have ever been worse than OK, in the order of their
/// first latch. Grows without limit, by one record per element.
///
/// Has no clock, thread or lock: the owner guards it and tells it the time.
class LatchedStore {
 public:
  using Records = std::vector<std::unique_ptr<HealthInfo>>;

  const Records& healthList() const { return healthList_; }

  /// The first record with that event number, or null.
  const HealthInfo* findEvent(std::uint32_t eventId) const;

  /// Records that the element was seen in a state other than OK at `now`, in seconds since the
  /// epoch.
  ///
  /// A known element keeps its record and its place: only a state that is worse (greater) than the
  /// latched one replaces it, with a new event number and time. An unknown element gets a record at
  /// the end. It is logged and dropped instead when it has no keys, has a key that is not a text,
  /// or when there is no memory for its keys; the event number that it took is then not used again.
  ///
  /// Ends the process when a key has no value, and when a new record does not give back the
  /// element's path. Fails: CmpiStatus of the broker, std::bad_alloc; the store is then unchanged,
  /// except that an event number may be lost.
  void latch(const CmpiObjectPath& element, std::uint16_t healthState, std::uint32_t now);

 private:
  HealthInfo* find(const CmpiObjectPath& element) const;
  void worsen(HealthInfo& record, std::uint16_t healthState, std::uint32_t now);
  void add(const CmpiObjectPath& element, std::uint16_t healthState, std::uint32_t now);

  Records healthList_;
  std::uint32_t nextEventId_ = 0;
};

}  // namespace OrvLatchedHealth
