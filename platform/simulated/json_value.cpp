#include "platform/simulated/json_value.h"

#include <charconv>

namespace simulated {
namespace {

/// A name as one step of a JSON pointer, with "~" and "/" escaped.
std::string escaped(std::string_view name) {
  std::string step;
  for (const char character : name) {
    if (character == '~') {
      step += "~0";
    } else if (character == '/') {
      step += "~1";
    } else {
      step += character;
    }
  }
  return step;
}

constexpr std::string_view kHexPrefix = "0x";

}  // namespace

std::string Value::pointer() const {
  if (parent_ == nullptr) return {};
  const bool inArray = parent_->json_.is_array();
  return parent_->pointer() + "/" + (inArray ? std::to_string(index_) : escaped(member_));
}

void Value::refuse(const std::string& message) const { throw Refusal{pointer(), message}; }

const nlohmann::json& Value::array() const {
  if (!json_.is_array()) refuse("expected an array");
  return json_;
}

const nlohmann::json& Value::object() const {
  if (!json_.is_object()) refuse("expected an object");
  return json_;
}

const std::string& Value::text() const {
  if (!json_.is_string()) refuse("expected a string");
  return json_.get_ref<const std::string&>();
}

bool Value::boolean() const {
  if (!json_.is_boolean()) refuse("expected true or false");
  return json_.get<bool>();
}

std::uint64_t Value::unsignedUpTo(std::uint64_t most) const {
  if (json_.is_string()) return hexadecimal(most);
  // The JSON library stores "-0" and negative numbers as signed, all others as unsigned.
  const bool negative =
      !json_.is_number_integer() || (!json_.is_number_unsigned() && json_.get<std::int64_t>() < 0);
  if (negative || json_.get<std::uint64_t>() > most) refuseNumber("0", std::to_string(most));
  return json_.get<std::uint64_t>();
}

std::int32_t Value::signed32() const {
  using Limits = std::numeric_limits<std::int32_t>;
  if (!json_.is_string() && json_.is_number_integer() && !json_.is_number_unsigned()) {
    const auto number = json_.get<std::int64_t>();
    if (number >= Limits::min() && number <= Limits::max())
      return static_cast<std::int32_t>(number);
  } else if (json_.is_number_unsigned() && json_.get<std::uint64_t>() <= Limits::max()) {
    return static_cast<std::int32_t>(json_.get<std::uint64_t>());
  } else if (json_.is_string()) {
    return static_cast<std::int32_t>(hexadecimal(Limits::max()));
  }
  refuseNumber(std::to_string(Limits::min()), std::to_string(Limits::max()));
}

std::uint64_t Value::hexadecimal(std::uint64_t most) const {
  std::string_view digits = text();
  if (digits.substr(0, kHexPrefix.size()) != kHexPrefix) refuseNumber("0", std::to_string(most));
  digits.remove_prefix(kHexPrefix.size());
  std::uint64_t number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, number, 16);
  if (error != std::errc{} || stopped != end || number > most) {
    refuseNumber("0", std::to_string(most));
  }
  return number;
}

void Value::refuseNumber(const std::string& least, const std::string& most) const {
  refuse("expected an integer from " + least + " to " + most);
}

Fault readFaultName(const Value& value) {
  if (value.text() == "nodemgr") return Fault::kNodemgr;
  if (value.text() == "other") return Fault::kOther;
  value.refuse("expected \"nodemgr\" or \"other\"");
}

void readValue(const Value& value, Fault& fault) {
  value.forEachMember([&](const std::string& name, const Value& member) {
    if (name != "throw") member.refuse("unknown member");
    fault = readFaultName(member);
  });
}

}  // namespace simulated
