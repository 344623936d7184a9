#include "tests/hardware_provider/element_file.h"

#include <charconv>
#include <sstream>
#include <stdexcept>

namespace {

template <typename Number>
std::optional<Number> number(const std::string& text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || last != end) return std::nullopt;
  return value;
}

/// Takes `name=value` or `name#=5` off the line; absent at its end.
std::optional<HardwareProperty> nextProperty(std::istream& line) {
  HardwareProperty property;
  if (!std::getline(line >> std::ws, property.name, '=')) return std::nullopt;
  if (line.eof() || property.name.empty()) throw std::runtime_error("name=value expected");
  if (property.name.back() == '#') {
    property.isNumber = true;
    property.name.pop_back();
  }
  if (line.peek() == '"') {
    line.get();
    std::getline(line, property.value, '"');
    if (line.eof()) throw std::runtime_error("closing quote expected");
  } else {
    line >> property.value;
  }
  if (property.isNumber && !number<std::uint64_t>(property.value)) {
    throw std::runtime_error("number expected");
  }
  return property;
}

HardwareFailure readFailure(const std::string& className, std::istream& line) {
  HardwareFailure failure{className, 1, {}};
  if (!(line >> failure.status)) throw std::runtime_error("status expected");
  std::getline(line >> std::ws, failure.message);
  return failure;
}

HardwareElement readElement(const std::string& className, const std::string& state,
                            std::istream& line) {
  HardwareElement element{className, number<std::uint16_t>(state), {}};
  if (!element.healthState && state != "-") throw std::runtime_error("HealthState or - expected");
  while (auto property = nextProperty(line)) element.properties.push_back(std::move(*property));
  return element;
}

void readLine(const std::string& text, Hardware& hardware) {
  std::istringstream line(text);
  std::string className;
  std::string second;
  if (!(line >> className) || className.front() == '#') return;
  line >> second;
  if (second == "fails") {
    hardware.failures.push_back(readFailure(className, line));
  } else {
    hardware.elements.push_back(readElement(className, second, line));
  }
}

}  // namespace

Hardware readHardware(std::istream& in) {
  Hardware hardware;
  std::string text;
  for (int lineNumber = 1; std::getline(in, text); ++lineNumber) {
    try {
      readLine(text, hardware);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error("line " + std::to_string(lineNumber) + ": " + error.what());
    }
  }
  return hardware;
}
