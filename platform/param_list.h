#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/system_info.h"

/// The parameter lists of system_info.h, which are the same on every platform, as a platform reads
/// them.

struct HSI_Param {
  bool isText = false;
  std::int32_t number = 0;  ///< unless it is a text
  std::string text;         ///< if it is a text
};

struct HSI_ParamList {
  std::vector<HSI_Param> parameters;
  unsigned limit = 0;  ///< most parameters allowed; 0: no limit
};
