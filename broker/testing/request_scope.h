#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"

namespace orv::broker {

class TestBroker;

/// What stands at index 7 of the context's function table, one past the seven slots of the
/// standard.
enum class ContextTable {
  kEightSlots,      ///< a function: frees what the calling thread has made, and answers OK
  kSevenSlots,      ///< no function: the word is the address of data
  kSevenSlotsNull,  ///< a null word
};

/// Makes the calling thread a request thread of a broker as long as it lives: with a context, and
/// memory that is freed at the end. For tests that call provider objects directly. Scopes may be
/// nested. Its context, and contexts that are prepared from it, have the broker's ContextTable.
class RequestScope {
 public:
  explicit RequestScope(TestBroker& broker, const std::string& providerName = "test",
                        const std::string& className = "");
  ~RequestScope();
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;

  const CMPIBroker* broker() const { return Broker::cmpi(); }
  const CMPIContext* context() const;
  const std::vector<Report>& reports() const;  ///< made in this thread, in this scope

  /// Broker objects from plain values, in the scope's memory. An instance is made as newInstance
  /// makes it and then set property by property.
  CMPIObjectPath* make(const ObjectPath& path);
  CMPIInstance* make(const Instance& instance);

  // Plain values from broker objects.
  static ObjectPath copy(const CMPIObjectPath* path);
  static Instance copy(const CMPIInstance* instance);
  static Value copy(const CMPIData& data);
  static std::optional<std::string> copy(const CMPIString* text);  ///< null pointer or text: absent

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A CMPIResult that keeps what it is given; belongs to a RequestScope of the same thread, which
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
