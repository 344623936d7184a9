#pragma once

#include <linux/ethtool.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/ethtool_channel.h"

namespace LinuxHost {

/// Plays the kernel: answers each ethtool command with the bytes or the errno value that a test has
/// set, and counts the questions. A command without either is not supported.
class FakeEthtool : public EthtoolChannel {
 public:
  int ask(const std::string& port, void* question) override {
    std::uint32_t command = 0;
    std::memcpy(&command, question, sizeof command);
    ports.push_back(port);
    ++asked[command];
    if (goneNow) return ENODEV;
    if (const auto error = errors.find(command); error != errors.end()) return error->second;
    if (command == ETHTOOL_GLINKSETTINGS) return answerLinkSettings(question);
    const auto answer = answers.find(command);
    if (answer == answers.end()) return EOPNOTSUPP;
    std::memcpy(question, answer->second.data(), answer->second.size());
    return 0;
  }

  template <typename Answer>
  void setAnswer(std::uint32_t command, Answer answer) {
    answer.cmd = command;
    const auto* bytes = reinterpret_cast<const unsigned char*>(&answer);
    answers[command].assign(bytes, bytes + sizeof answer);
  }

  /// The answer to ETHTOOL_GLINKSETTINGS; the bitmaps are of equal length.
  void setLinkSettings(const ethtool_link_settings& header,
                       const std::vector<std::uint32_t>& supported,
                       const std::vector<std::uint32_t>& advertised) {
    ethtool_link_settings full{};
    std::memcpy(&full, &header, sizeof full);
    full.cmd = ETHTOOL_GLINKSETTINGS;
    full.link_mode_masks_nwords = static_cast<std::int8_t>(supported.size());
    auto& bytes = answers[ETHTOOL_GLINKSETTINGS];
    bytes.resize(sizeof full + 3 * supported.size() * 4);
    std::memcpy(bytes.data(), &full, sizeof full);
    std::memcpy(bytes.data() + sizeof full, supported.data(), supported.size() * 4);
    std::memcpy(bytes.data() + sizeof full + supported.size() * 4, advertised.data(),
                advertised.size() * 4);
  }

  std::map<std::uint32_t, std::vector<unsigned char>> answers;
  std::map<std::uint32_t, int> errors;
  std::map<std::uint32_t, int> asked;
  std::vector<std::string> ports;
  bool goneNow = false;

 private:
  /// As the kernel does: a wrong length is answered with the right one, negated, and nothing else.
  int answerLinkSettings(void* question) {
    const auto answer = answers.find(ETHTOOL_GLINKSETTINGS);
    if (answer == answers.end()) return EOPNOTSUPP;
    ethtool_link_settings asking{};
    ethtool_link_settings known{};
    std::memcpy(&asking, question, sizeof asking);
    std::memcpy(&known, answer->second.data(), sizeof known);
    if (asking.link_mode_masks_nwords == known.link_mode_masks_nwords) {
      std::memcpy(question, answer->second.data(), answer->second.size());
      return 0;
    }
    ethtool_link_settings hint{};
    hint.cmd = ETHTOOL_GLINKSETTINGS;
    hint.link_mode_masks_nwords = static_cast<std::int8_t>(-known.link_mode_masks_nwords);
    std::memcpy(question, &hint, sizeof hint);
    return 0;
  }
};

}  // namespace LinuxHost
