#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/linux/ethtool_groups.h"

namespace {

/// The bytes as an answer of fixed size; what they lack is zero.
template <typename Answer>
Answer answerOf(const std::uint8_t* data, std::size_t size) {
  Answer answer{};
  if (size != 0) std::memcpy(&answer, data, std::min(size, sizeof answer));
  return answer;
}

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

// Any bytes are a driver's answer to each question.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const LinuxHost::LinkSettingsAnswer settings(data, data + size);
  const auto decoded = LinuxHost::decodeLinkSettings(settings);
  require(decoded.autoNegotiation <= 1);
  require(size >= sizeof(ethtool_link_settings) || decoded.supportedLinkModes.empty());
  const auto driver = LinuxHost::decodeDriver(answerOf<ethtool_drvinfo>(data, size));
  require(driver.driver.size() <= sizeof ethtool_drvinfo::driver);
  require(driver.busInfo.size() <= sizeof ethtool_drvinfo::bus_info);
  LinuxHost::decodeCoalesce(answerOf<ethtool_coalesce>(data, size));
  const auto wake = answerOf<ethtool_wolinfo>(data, size);
  require(LinuxHost::decodeWakeModes(wake.supported).size() <= 32);
  return 0;
}
