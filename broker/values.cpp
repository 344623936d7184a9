#include "broker/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

#include "broker/class_repository.h"

namespace orv::broker {
namespace {

struct TypeRow {
  CMPIType type;
  const char* name;
};

constexpr TypeRow kTypes[] = {
    {CMPI_null, "null"},         {CMPI_boolean, "boolean"},   {CMPI_char16, "char16"},
    {CMPI_real32, "real32"},     {CMPI_real64, "real64"},     {CMPI_uint8, "uint8"},
    {CMPI_uint16, "uint16"},     {CMPI_uint32, "uint32"},     {CMPI_uint64, "uint64"},
    {CMPI_sint8, "sint8"},       {CMPI_sint16, "sint16"},     {CMPI_sint32, "sint32"},
    {CMPI_sint64, "sint64"},     {CMPI_instance, "instance"}, {CMPI_ref, "reference"},
    {CMPI_args, "arguments"},    {CMPI_string, "string"},     {CMPI_chars, "chars"},
    {CMPI_dateTime, "datetime"},
};

struct StatusRow {
  CMPIrc rc;
  const char* name;
  const char* text = nullptr;  // after the descriptions in DSP0200
};

constexpr StatusRow kStatuses[] = {
    {CMPI_RC_OK, "CMPI_RC_OK"},
    {CMPI_RC_ERR_FAILED, "CMPI_RC_ERR_FAILED", "A general error occurred"},
    {CMPI_RC_ERR_ACCESS_DENIED, "CMPI_RC_ERR_ACCESS_DENIED",
     "Access to a CIM resource was not available to the client"},
    {CMPI_RC_ERR_INVALID_NAMESPACE, "CMPI_RC_ERR_INVALID_NAMESPACE", "Invalid namespace"},
    {CMPI_RC_ERR_INVALID_PARAMETER, "CMPI_RC_ERR_INVALID_PARAMETER",
     "One or more parameter values passed to the method were invalid"},
    {CMPI_RC_ERR_INVALID_CLASS, "CMPI_RC_ERR_INVALID_CLASS", "Class not found"},
    {CMPI_RC_ERR_NOT_FOUND, "CMPI_RC_ERR_NOT_FOUND", "The requested object could not be found"},
    {CMPI_RC_ERR_NOT_SUPPORTED, "CMPI_RC_ERR_NOT_SUPPORTED",
     "The requested operation is not supported"},
    {CMPI_RC_ERR_CLASS_HAS_CHILDREN, "CMPI_RC_ERR_CLASS_HAS_CHILDREN"},
    {CMPI_RC_ERR_CLASS_HAS_INSTANCES, "CMPI_RC_ERR_CLASS_HAS_INSTANCES"},
    {CMPI_RC_ERR_INVALID_SUPERCLASS, "CMPI_RC_ERR_INVALID_SUPERCLASS"},
    {CMPI_RC_ERR_ALREADY_EXISTS, "CMPI_RC_ERR_ALREADY_EXISTS"},
    {CMPI_RC_ERR_NO_SUCH_PROPERTY, "CMPI_RC_ERR_NO_SUCH_PROPERTY"},
    {CMPI_RC_ERR_TYPE_MISMATCH, "CMPI_RC_ERR_TYPE_MISMATCH"},
    {CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, "CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED"},
    {CMPI_RC_ERR_INVALID_QUERY, "CMPI_RC_ERR_INVALID_QUERY"},
    {CMPI_RC_ERR_METHOD_NOT_AVAILABLE, "CMPI_RC_ERR_METHOD_NOT_AVAILABLE"},
    {CMPI_RC_ERR_METHOD_NOT_FOUND, "CMPI_RC_ERR_METHOD_NOT_FOUND"},
    {CMPI_RC_DO_NOT_UNLOAD, "CMPI_RC_DO_NOT_UNLOAD"},
    {CMPI_RC_NEVER_UNLOAD, "CMPI_RC_NEVER_UNLOAD"},
    {CMPI_RC_ERR_INVALID_HANDLE, "CMPI_RC_ERR_INVALID_HANDLE"},
    {CMPI_RC_ERR_INVALID_DATA_TYPE, "CMPI_RC_ERR_INVALID_DATA_TYPE"},
    {CMPI_RC_ERROR_SYSTEM, "CMPI_RC_ERROR_SYSTEM"},
    {CMPI_RC_ERROR, "CMPI_RC_ERROR"},
};

const StatusRow* findStatus(CMPIrc rc) {
  const auto* row = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                 [rc](const StatusRow& candidate) { return candidate.rc == rc; });
  return row != std::end(kStatuses) ? row : nullptr;
}

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
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 17);
  return {text.data(), end.ptr};
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

/// Whether key or property lists with distinct names are equal, in any order.
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
  for (const TypeRow& row : kTypes) {
    if (row.type == (type & ~CMPI_ARRAY)) {
      return (type & CMPI_ARRAY) != 0 ? std::string(row.name) + "[]" : row.name;
    }
  }
  return "type " + std::to_string(type);
}

std::optional<CMPIType> dataTypeNamed(std::string_view name) {
  for (const TypeRow& row : kTypes) {
    const bool isData = (row.type != CMPI_null && row.type < CMPI_ENC) || row.type == CMPI_string ||
                        row.type == CMPI_dateTime;
    if (isData && sameName(row.name, name)) return row.type;
  }
  return std::nullopt;
}

std::string statusName(CMPIrc rc) {
  const std::string number = std::to_string(static_cast<int>(rc));
  const StatusRow* row = findStatus(rc);
  return row != nullptr ? std::string(row->name) + " (" + number + ")" : number;
}

const char* statusText(CMPIrc rc) {
  const StatusRow* row = findStatus(rc);
  return row != nullptr && row->text != nullptr ? row->text : "The provider gave no reason";
}

std::ostream& operator<<(std::ostream& out, const Value& value) { return out << value.toText(); }
std::ostream& operator<<(std::ostream& out, const ObjectPath& path) { return out << path.toText(); }
std::ostream& operator<<(std::ostream& out, const Instance& instance) {
  return out << instance.toText();
}

}  // namespace orv::broker
