#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"

namespace orv::broker {

class TestBroker;

/// What the context's function table has at index 7, after the seven slots of the standard.
enum class ContextTable {
  kEightSlots,      ///< a function that frees what the calling thread has made, and returns OK
  kSevenSlots,      ///< no function: an address of data
  kSevenSlotsNull,  ///< a null word
};

/// Makes the calling thread a request thread of a broker for as long as the object exists: with a
/// context, and memory that is freed at the end. For tests that call provider objects directly.
/// Scopes may be nested. Its context, and contexts prepared from it, have the broker's
/// ContextTable.
class RequestScope {
 public:
  explicit RequestScope(TestBroker& broker, const std::string& providerName = "test",
                        const std::string& className = "");
  ~RequestScope();
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;

  const CMPIBroker* broker() const { return Broker::cmpi(); }
  const CMPIContext* context() const;
  const std::vector<Report>& reports() const;  ///< of this thread, in this scope

  /// Makes broker objects from plain values, in the scope's memory; an instance as by newInstance
  /// and one setProperty per property.
  CMPIObjectPath* make(const ObjectPath& path);
  CMPIInstance* make(const Instance& instance);

  // Plain values of broker objects.
  static ObjectPath copy(const CMPIObjectPath* path);
  static Instance copy(const CMPIInstance* instance);
  static Value copy(const CMPIData& data);
  static std::optional<std::string> copy(const CMPIString* text);  ///< absent for null

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A CMPIResult that records what it is given. Belongs to a RequestScope of the same thread, which
/// must outlive it.
class RecordingResult {
 public:
  explicit RecordingResult(RequestScope& scope);
  ~RecordingResult();
  RecordingResult(const RecordingResult&) = delete;
  RecordingResult& operator=(const RecordingResult&) = delete;

  const CMPIResult* record() const;
  const std::vector<Instance>& instances() const;
  const std::vector<ObjectPath>& paths() const;
  const std::vector<Value>& data() const;
  int doneCount() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::broker
