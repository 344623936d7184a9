#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "platform/system_info.h"

/// The parameter lists behind system_info.h are the same on every platform; a platform reads them
/// here.

struct HSI_Param {
  std::variant<std::int32_t, std::string> value;
};

struct HSI_ParamList {
  std::vector<HSI_Param> parameters;
  unsigned limit = 0;  ///< 0: none
};
