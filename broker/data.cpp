#include "broker/data.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

#include "broker/arrays.h"
#include "broker/class_repository.h"
#include "broker/date_times.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

// In characters: the object manager's buffer without its terminating null.
constexpr std::size_t kLongestReference = 4095;

ReadValue fine(Value value) { return {std::move(value), CMPI_RC_OK, ""}; }

ReadValue refused(CMPIrc rc, std::string complaint) { return {Value(), rc, std::move(complaint)}; }

bool isPointerType(CMPIType type) { return type >= CMPI_ENC; }

/// Calls `visit` with the member of the union that holds numbers of that type; false for a type
/// that is not a number's.
template <typename Visit>
bool visitNumberMember(CMPIType type, Visit visit) {
  const auto isIn = [&](CMPIType numberType, auto member) {
    if (type != numberType) return false;
    visit(member);
    return true;
  };
  return isIn(CMPI_uint8, &CMPIValue::uint8) || isIn(CMPI_uint16, &CMPIValue::uint16) ||
         isIn(CMPI_uint32, &CMPIValue::uint32) || isIn(CMPI_uint64, &CMPIValue::uint64) ||
         isIn(CMPI_sint8, &CMPIValue::sint8) || isIn(CMPI_sint16, &CMPIValue::sint16) ||
         isIn(CMPI_sint32, &CMPIValue::sint32) || isIn(CMPI_sint64, &CMPIValue::sint64) ||
         isIn(CMPI_real32, &CMPIValue::real32) || isIn(CMPI_real64, &CMPIValue::real64) ||
         isIn(CMPI_char16, &CMPIValue::uint16);
}

/// Whether a property, key, element or argument may have the type.
bool isValueType(CMPIType type) {
  constexpr CMPIType kOthers[] = {CMPI_boolean, CMPI_instance, CMPI_ref,
                                  CMPI_string,  CMPI_chars,    CMPI_dateTime};
  return visitNumberMember(type, [](auto /*member*/) {}) ||
         std::find(std::begin(kOthers), std::end(kOthers), type) != std::end(kOthers);
}

template <typename Number>
Value ofNumber(CMPIType type, Number number) {
  if constexpr (std::is_floating_point_v<Number>) {
    return Value::ofReal(type, static_cast<double>(number));
  } else if constexpr (std::is_signed_v<Number>) {
    return Value::ofSigned(type, number);
  } else {
    return Value::ofUnsigned(type, number);
  }
}

Value readNumber(const CMPIValue& value, CMPIType type) {
  if (type == CMPI_boolean) return Value::ofBoolean(value.boolean != 0);
  Value read;
  visitNumberMember(type, [&](auto member) { read = ofNumber(type, value.*member); });
  return read;
}

/// Reads the object behind a record; null for a null record.
template <class Object, class Read>
ReadValue readObject(const typename Object::Record* record, CMPIType type, Read read) {
  if (record == nullptr) return fine(Value::ofNull(type));
  const Object* own = Object::own(record);
  if (own == nullptr) return {Value(), CMPI_RC_ERR_INVALID_HANDLE, ""};  // reported already
  return read(*own);
}

ReadValue readArray(const ArrayObject& own, CMPIType type) {
  if (isPointerType(own.elementType) != isPointerType(static_cast<CMPIType>(type & ~CMPI_ARRAY))) {
    return refused(CMPI_RC_ERR_TYPE_MISMATCH, "an array of " + typeName(own.elementType) +
                                                  " passed as " + typeName(type) +
                                                  ": a crash at the next read");
  }
  return fine(Value::ofArray(own.elementType, own.elements));
}

/// Whether a key value contains the character, at any depth.
bool keysContain(const ObjectPath& path, char wanted) {
  return std::any_of(path.keys.begin(), path.keys.end(), [wanted](const Key& key) {
    const auto* text = std::get_if<std::string>(&key.value.content);
    if (text != nullptr) return text->find(wanted) != std::string::npos;
    const auto* nested = std::get_if<std::shared_ptr<const ObjectPath>>(&key.value.content);
    return nested != nullptr && keysContain(**nested, wanted);
  });
}

Value keyFromText(const Value& value) {
  if (const auto* number = std::get_if<std::uint64_t>(&value.content)) {
    return Value::ofUnsigned(CMPI_uint64, *number);
  }
  if (const auto* number = std::get_if<std::int64_t>(&value.content)) {
    return *number < 0 ? Value::ofSigned(CMPI_sint64, *number)
                       : Value::ofUnsigned(CMPI_uint64, static_cast<std::uint64_t>(*number));
  }
  if (const auto* time = std::get_if<DateTime>(&value.content)) return Value::ofString(time->text);
  return value;
}

template <typename Number>
Number numberOf(const Value& value) {
  if constexpr (std::is_floating_point_v<Number>) {
    return static_cast<Number>(value.real());
  } else if constexpr (std::is_signed_v<Number>) {
    return static_cast<Number>(value.signedNumber());
  } else {
    return static_cast<Number>(value.number());
  }
}

CMPIValue numberUnion(const Value& value) {
  CMPIValue out{};
  if (value.type == CMPI_boolean) out.boolean = value.boolean() ? 1 : 0;
  visitNumberMember(value.type, [&](auto member) {
    out.*member = numberOf<std::decay_t<decltype(out.*member)>>(value);
  });
  return out;
}

CMPIValue objectUnion(const Value& value) {
  CMPIValue out{};
  if (value.isArray()) {
    out.array = makeArray(static_cast<CMPIType>(value.type & ~CMPI_ARRAY), value.array());
  } else if (value.type == CMPI_string) {
    out.string = makeString(value.text());
  } else if (value.type == CMPI_dateTime) {
    out.dateTime = makeDateTime(value.dateTime());
  } else if (value.type == CMPI_instance) {
    out.inst = makeInstance(value.instance());
  } else if (value.type == CMPI_ref && value.content.index() != 0) {
    out.ref = makePath(PathData::of(value.reference()));
  }
  return out;
}

}  // namespace

PathData PathData::of(const ObjectPath& plain) {
  PathData data{std::nullopt, plain.nameSpace, plain.className, plain.keys};
  if (!plain.host.empty()) data.host = plain.host;
  return data;
}

ObjectPath PathData::toPlain() const {
  return {host.value_or(""), nameSpace.value_or(""), className.value_or(""), keys};
}

Key* PathData::key(std::string_view name) {
  const auto place = std::find_if(keys.begin(), keys.end(),
                                  [name](const Key& key) { return sameName(key.name, name); });
  return place != keys.end() ? &*place : nullptr;
}

const Key* PathData::key(std::string_view name) const {
  return const_cast<PathData*>(this)->key(name);
}

ReadValue storedReference(const ObjectPath& path) {
  ObjectPath stored{"", path.nameSpace, path.className, {}};
  for (const Key& key : path.keys) {
    if (key.value.type != CMPI_boolean) stored.keys.push_back({key.name, keyFromText(key.value)});
  }
  if (stored.toText().size() > kLongestReference) {
    return refused(CMPI_RC_ERR_FAILED,
                   "reference text longer than 4095 characters: a buffer overrun");
  }
  if (stored.nameSpace.empty() && keysContain(stored, ':')) {
    return refused(
        CMPI_RC_ERR_FAILED,
        "reference without a namespace and with a ':' in a key: a crash at the next read");
  }
  if (!keysContain(stored, '"')) return fine(Value::ofReference(std::move(stored)));
  Value unreadable = Value::ofNull(CMPI_ref);
  unreadable.null = false;
  return fine(std::move(unreadable));
}

std::string referenceText(const ObjectPath& path) {
  return ObjectPath{"", path.nameSpace, path.className, path.keys}.toText();
}

ReadValue readValue(const CMPIValue* value, CMPIType type) {
  if (!isValueType(static_cast<CMPIType>(type & ~CMPI_ARRAY))) {
    return refused(CMPI_RC_ERR_TYPE_MISMATCH,
                   "value of type " + typeName(type) +
                       (type == CMPI_null ? ": ends the HTTP process when it is sent"
                                          : ", which no value can have: a crash"));
  }
  if (value == nullptr) return fine(Value::ofNull(storedType(type)));
  if ((type & CMPI_ARRAY) != 0) {
    return readObject<ArrayObject>(value->array, storedType(type), [type](const auto& own) {
      return readArray(own, storedType(type));
    });
  }
  switch (type) {
    case CMPI_chars:
      return fine(Value::ofString(reinterpret_cast<const char*>(value)));
    case CMPI_string:
      return readObject<StringObject>(value->string, type, [](const auto& own) {
        return fine(own.text ? Value::ofString(*own.text) : Value::ofNull(CMPI_string));
      });
    case CMPI_dateTime:
      return readObject<DateTimeObject>(value->dateTime, type, [](const auto& own) {
        return fine(Value::ofDateTime(own.value));
      });
    case CMPI_instance:
      return readObject<InstanceObject>(value->inst, type, [](const auto& own) {
        return fine(Value::ofInstance(own.data.toPlain()));
      });
    case CMPI_ref:
      return readObject<PathObject>(
          value->ref, type, [](const auto& own) { return storedReference(own.data.toPlain()); });
    default:
      return fine(readNumber(*value, type));
  }
}

CMPIData toData(const Value& value) {
  CMPIData data{};
  data.type = value.type;
  data.state = value.null ? CMPI_nullValue : CMPI_goodValue;
  if (!value.null) data.value = isPointerType(value.type) ? objectUnion(value) : numberUnion(value);
  return data;
}

}  // namespace orv::broker
