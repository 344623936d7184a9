#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "hardware/health_rules.h"

namespace Hardware {

/// The value of a property, in the type in which it is published.
using PropertyValue = std::variant<std::string, bool, std::uint16_t, std::uint32_t, std::uint64_t,
                                   std::int32_t, std::vector<std::string>>;
using Properties = std::vector<std::pair<const char*, PropertyValue>>;

/// One element of the hardware as it is published, without any object of the broker.
struct Element {
  std::string id;    ///< value of the key that tells elements of a class apart
  std::string name;  ///< ElementName
  Judgement judgement;
  Properties properties;  ///< all but keys, ElementName and health

  // Related elements, by their `id`; empty where there is none.
  std::string monitored;
  std::string pool;
  std::string disk;
};

}  // namespace Hardware
