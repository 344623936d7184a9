#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/system_info.h"

/// The parameter lists behind system_info.h are the same on every platform; a platform reads them
/// here.

struct HSI_Param {
  bool isText = false;
  std::int32_t number = 0;  ///< of an integer
  std::string text;         ///< of a string
};

struct HSI_ParamList {
  std::vector<HSI_Param> parameters;
  unsigned limit = 0;  ///< 0: none
};
