#pragma once

#include <string>

namespace orv::test {

// The programs, and what they are started with.
inline const std::string kOrvcim = ORV_BINARY_DIR "/bin/orvcim";
inline const std::string kSchema = ORV_SOURCE_DIR "/schema";
inline const std::string kExampleHost = ORV_SOURCE_DIR "/tests/hosts/example.json";

}  // namespace orv::test
