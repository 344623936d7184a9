#pragma once

#include <exception>
#include <string>
#include <type_traits>

#include "broker/heap.h"
#include "broker/thread_state.h"

/// What the slots of all tables have in common.
namespace orv::broker {

/// A broker object: the record that providers see, and its place in a heap.
///
/// `Object`, which derives from it, has
///   static constexpr const char* kKind;  what reports call it
///   static ... table;                    the slots of its record
///   Object* clone() const;               a copy in no heap, where the table has such a slot
template <class Object, class ObjectRecord>
struct BrokerObject : ObjectRecord, HeapEntry {
  using Record = ObjectRecord;

  BrokerObject() : ObjectRecord{this, &Object::table} {}

  /// The object behind a record that a provider passes. Null for a null pointer and, with a report,
  /// for a record that this broker did not make, of which the object manager would read private
  /// parts.
  static Object* own(const Record* record) {
    if (record == nullptr) return nullptr;
    if (record->ft == &Object::table) {
      return const_cast<Object*>(static_cast<const Object*>(record));
    }
    report(
        "", "",
        std::string("passes a ") + Object::kKind + " record that the broker did not make: a crash");
    return nullptr;
  }
};

/// The data of a lookup that found nothing.
inline CMPIData notFoundData() {
  CMPIData data{};
  data.type = CMPI_null;
  data.state = CMPI_notFound;
  return data;
}

/// What a slot returns on failure.
template <class Result>
Result failedResult(CMPIrc rc) {
  if constexpr (std::is_same_v<Result, CMPIStatus>) {
    return status(rc);
  } else if constexpr (std::is_same_v<Result, CMPIData>) {
    return notFoundData();
  } else {
    return Result{};
  }
}

/// Makes a slot of a table from a function of the broker: `slot<function>`.
///
/// A function whose first parameter is an object becomes a slot that takes the object's record; a
/// null or foreign record gives status 60 and an empty result. The status argument is OK when the
/// function is called, which may set another. An exception (out of memory) does not reach the
/// provider, which may be C: the status is 1 and the result empty.
template <auto Function>
struct Slot;

template <class Result, class First, class... Rest, Result (*Function)(First, Rest...)>
struct Slot<Function> {
  template <class Self>
  using Pointer = Result (*)(Self, Rest...);

  /// The slot, with a const or non-const record as the table requires.
  template <class Self>
  constexpr operator Pointer<Self>() const {  // NOLINT(google-explicit-constructor)
    return call<Self>;
  }

 private:
  template <class Self>
  static Result call(Self self, Rest... rest) {
    CMPIStatus* out = nullptr;
    (findStatus(rest, out), ...);
    CMPIrc problem = CMPI_RC_ERR_FAILED;
    try {
      answer(out, CMPI_RC_OK);
      if constexpr (std::is_reference_v<First>) {
        auto* object = std::remove_reference_t<First>::own(self);
        if (object != nullptr) return Function(*object, rest...);
        problem = CMPI_RC_ERR_INVALID_HANDLE;
      } else {
        return Function(self, rest...);
      }
    } catch (const std::exception&) {
      problem = CMPI_RC_ERR_FAILED;
    }
    answer(out, problem);
    return failedResult<Result>(problem);
  }

  static void findStatus(CMPIStatus* argument, CMPIStatus*& out) { out = argument; }
  template <class Other>
  static void findStatus(const Other& /*argument*/, CMPIStatus*& /*out*/) {}
};

template <auto Function>
constexpr Slot<Function> slot{};

/// Frees an object as its release slot does. An object of another thread or an outer mark is not
/// freed but reported.
CMPIStatus releaseEntry(HeapEntry& entry, const char* kind);

/// The release slot of a kind of object.
template <class Object>
CMPIStatus releaseObject(Object& object) {
  return releaseEntry(object, Object::kKind);
}

/// The clone slot of a kind of object. Returns a copy in no heap, which the caller releases.
template <class Object>
typename Object::Record* cloneObject(const Object& object, CMPIStatus* /*out*/) {
  return object.clone();
}

}  // namespace orv::broker
