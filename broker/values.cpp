#include "broker/values.h"

#include <algorithm>
#include <sstream>

#include "broker/class_repository.h"

namespace orv::broker {
namespace {

struct NamedCode {
  int code;
  const char* name;
};

constexpr NamedCode kTypeNames[] = {
    {CMPI_null, "null"},         {CMPI_boolean, "boolean"},   {CMPI_char16, "char16"},
    {CMPI_real32, "real32"},     {CMPI_real64, "real64"},     {CMPI_uint8, "uint8"},
    {CMPI_uint16, "uint16"},     {CMPI_uint32, "uint32"},     {CMPI_uint64, "uint64"},
    {CMPI_sint8, "sint8"},       {CMPI_sint16, "sint16"},     {CMPI_sint32, "sint32"},
    {CMPI_sint64, "sint64"},     {CMPI_instance, "instance"}, {CMPI_ref, "reference"},
    {CMPI_args, "arguments"},    {CMPI_string, "string"},     {CMPI_chars, "chars"},
    {CMPI_dateTime, "datetime"},
};

constexpr NamedCode kStatusNames[] = {
    {0, "CMPI_RC_OK"},
    {1, "CMPI_RC_ERR_FAILED"},
    {2, "CMPI_RC_ERR_ACCESS_DENIED"},
    {3, "CMPI_RC_ERR_INVALID_NAMESPACE"},
    {4, "CMPI_RC_ERR_INVALID_PARAMETER"},
    {5, "CMPI_RC_ERR_INVALID_CLASS"},
    {6, "CMPI_RC_ERR_NOT_FOUND"},
    {7, "CMPI_RC_ERR_NOT_SUPPORTED"},
    {8, "CMPI_RC_ERR_CLASS_HAS_CHILDREN"},
    {9, "CMPI_RC_ERR_CLASS_HAS_INSTANCES"},
    {10, "CMPI_RC_ERR_INVALID_SUPERCLASS"},
    {11, "CMPI_RC_ERR_ALREADY_EXISTS"},
    {12, "CMPI_RC_ERR_NO_SUCH_PROPERTY"},
    {13, "CMPI_RC_ERR_TYPE_MISMATCH"},
    {14, "CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED"},
    {15, "CMPI_RC_ERR_INVALID_QUERY"},
    {16, "CMPI_RC_ERR_METHOD_NOT_AVAILABLE"},
    {17, "CMPI_RC_ERR_METHOD_NOT_FOUND"},
    {50, "CMPI_RC_DO_NOT_UNLOAD"},
    {51, "CMPI_RC_NEVER_UNLOAD"},
    {60, "CMPI_RC_ERR_INVALID_HANDLE"},
    {61, "CMPI_RC_ERR_INVALID_DATA_TYPE"},
    {100, "CMPI_RC_ERROR_SYSTEM"},
    {200, "CMPI_RC_ERROR"},
};

Value withContent(CMPIType type, Value::Content content) {
  Value value;
  value.type = type;
  value.null = false;
  value.content = std::move(content);
  return value;
}

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n') {
      out += "\\n";
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string realText(double value) {
  std::ostringstream out;
  out.precision(17);
  out << value;
  return out.str();
}

struct ContentText {
  std::string operator()(std::monostate) const { return "<unreadable>"; }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::uint64_t value) const { return std::to_string(value); }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const { return realText(value); }
  std::string operator()(const std::string& value) const { return quoted(value); }
  std::string operator()(const DateTime& value) const { return quoted(value.text); }
  std::string operator()(const std::shared_ptr<const Instance>& value) const {
    return value->toText();
  }
  std::string operator()(const std::shared_ptr<const ObjectPath>& value) const {
    return value->toText();
  }
  std::string operator()(const Value::Array& value) const {
    std::string out;
    for (const Value& element : value) out += (out.empty() ? "" : ", ") + element.toText();
    return "{" + out + "}";
  }
};

bool sameContent(const Value::Content& a, const Value::Content& b) {
  if (a.index() != b.index()) return false;
  if (const auto* left = std::get_if<std::shared_ptr<const Instance>>(&a)) {
    return **left == *std::get<std::shared_ptr<const Instance>>(b);
  }
  if (const auto* left = std::get_if<std::shared_ptr<const ObjectPath>>(&a)) {
    return **left == *std::get<std::shared_ptr<const ObjectPath>>(b);
  }
  return a == b;
}

/// Key or property lists of equal length and distinct names: each of `a` is in `b`.
template <class Named>
bool sameValues(const std::vector<Named>& a, const std::vector<Named>& b) {
  if (a.size() != b.size()) return false;
  return std::all_of(a.begin(), a.end(), [&b](const Named& left) {
    return std::any_of(b.begin(), b.end(), [&left](const Named& right) {
      return sameName(left.name, right.name) && left.value == right.value;
    });
  });
}

template <class Named>
const Value* findNamed(const std::vector<Named>& list, std::string_view name) {
  for (const Named& item : list) {
    if (sameName(item.name, name)) return &item.value;
  }
  return nullptr;
}

std::string indented(const std::string& text) {
  std::string out;
  for (const char c : text) {
    out += c;
    if (c == '\n') out += "  ";
  }
  return out;
}

}  // namespace

bool DateTime::operator==(const DateTime& other) const {
  return text == other.text && microseconds == other.microseconds && interval == other.interval;
}

Value Value::ofNull(CMPIType type) {
  Value value;
  value.type = type;
  return value;
}

Value Value::ofBoolean(bool value) { return withContent(CMPI_boolean, value); }
Value Value::ofUnsigned(CMPIType type, std::uint64_t value) { return withContent(type, value); }
Value Value::ofSigned(CMPIType type, std::int64_t value) { return withContent(type, value); }
Value Value::ofReal(CMPIType type, double value) { return withContent(type, value); }
Value Value::ofString(std::string text) { return withContent(CMPI_string, std::move(text)); }
Value Value::ofDateTime(DateTime value) { return withContent(CMPI_dateTime, std::move(value)); }

Value Value::ofArray(CMPIType elementType, Array elements) {
  return withContent(static_cast<CMPIType>(CMPI_ARRAY | elementType), std::move(elements));
}

Value Value::ofInstance(Instance value) {
  return withContent(CMPI_instance, std::make_shared<const Instance>(std::move(value)));
}

Value Value::ofReference(ObjectPath value) {
  return withContent(CMPI_ref, std::make_shared<const ObjectPath>(std::move(value)));
}

bool Value::operator==(const Value& other) const {
  return type == other.type && null == other.null && sameContent(content, other.content);
}

std::string Value::toText() const { return null ? "NULL" : std::visit(ContentText(), content); }

const Value* ObjectPath::key(std::string_view name) const { return findNamed(keys, name); }

bool ObjectPath::operator==(const ObjectPath& other) const {
  return host == other.host && sameName(nameSpace, other.nameSpace) &&
         sameName(className, other.className) && sameValues(keys, other.keys);
}

std::string ObjectPath::toText() const {
  std::string out = host.empty() ? "" : "//" + host + "/";
  out += nameSpace.empty() ? className : nameSpace + ":" + className;
  char separator = '.';
  for (const Key& item : keys) {
    out += separator + item.name + "=" + item.value.toText();
    separator = ',';
  }
  return out;
}

const Value* Instance::property(std::string_view name) const { return findNamed(properties, name); }

bool Instance::operator==(const Instance& other) const {
  return path == other.path && sameValues(properties, other.properties);
}

std::string Instance::toText() const {
  std::string out = "instance of " + path.className + " {\n";
  for (const Property& item : properties) {
    out += "  " + item.name + " = " + indented(item.value.toText()) + ";\n";
  }
  return out + "}";
}

std::string typeName(CMPIType type) {
  for (const NamedCode& row : kTypeNames) {
    if (row.code == (type & ~CMPI_ARRAY)) {
      return (type & CMPI_ARRAY) != 0 ? std::string(row.name) + "[]" : row.name;
    }
  }
  return "type " + std::to_string(type);
}

std::string statusName(CMPIrc rc) {
  const int code = static_cast<int>(rc);
  for (const NamedCode& row : kStatusNames) {
    if (row.code == code) return std::string(row.name) + " (" + std::to_string(code) + ")";
  }
  return std::to_string(code);
}

std::ostream& operator<<(std::ostream& out, const Value& value) { return out << value.toText(); }
std::ostream& operator<<(std::ostream& out, const ObjectPath& path) { return out << path.toText(); }
std::ostream& operator<<(std::ostream& out, const Instance& instance) {
  return out << instance.toText();
}

}  // namespace orv::broker
