#include "heartbeat/interval_config.h"

#include <array>
#include <istream>
#include <limits>
#include <string_view>

namespace Heartbeat {
namespace {

constexpr std::string_view kKeyword = "heartbeatInterval";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Finds the keyword in a line that it sees character by character.
class KeywordMatcher {
 public:
  void see(char c) {
    if (found()) return;
    if (c == kKeyword[matched_]) {
      ++matched_;
    } else {
      // The keyword's first letter does not come again in it: a match begins here or not at all.
      matched_ = c == kKeyword.front() ? 1 : 0;
    }
  }
  bool found() const { return matched_ == kKeyword.size(); }

 private:
  static_assert(kKeyword.find(kKeyword.front(), 1) == std::string_view::npos);
  std::size_t matched_ = 0;
};

/// Finds the value of a line that it sees character by character.
class ValueScanner {
 public:
  void see(char c) {
    if (state_ == State::kLooking) {
      look(c);
    } else if (state_ == State::kInNumber) {
      isDigit(c) ? add(c) : finish();
    }
    atLineStart_ = false;
  }

  std::optional<std::int32_t> value() const {
    if (!hasNumber_) return std::nullopt;
    return tooLarge() ? kUnreadableInterval : static_cast<std::int32_t>(number_);
  }

 private:
  enum class State { kLooking, kInNumber, kDone };

  void look(char c) {
    if (c == '#') {
      finish();
    } else if (isDigit(c)) {
      state_ = State::kInNumber;
      // Deliberate (contract.md#number-first): a number at the very start ends the line.
      hasNumber_ = !atLineStart_;
      add(c);
    }
  }

  void add(char digit) {
    if (!tooLarge()) number_ = number_ * 10 + (digit - '0');
  }

  void finish() { state_ = State::kDone; }

  bool tooLarge() const { return number_ > std::numeric_limits<std::int32_t>::max(); }

  State state_ = State::kLooking;
  bool atLineStart_ = true;
  bool hasNumber_ = false;
  std::int64_t number_ = 0;
};

struct Line {
  KeywordMatcher keyword;
  ValueScanner value;

  void see(char c) {
    keyword.see(c);
    value.see(c);
  }
};

}  // namespace

std::optional<std::int32_t> scanInterval(std::istream& in) {
  std::array<char, 16384> buffer;
  Line line;
  while (in.good()) {
    in.read(buffer.data(), buffer.size());
    const auto end = buffer.begin() + in.gcount();
    for (auto c = buffer.begin(); c != end; ++c) {
      if (*c != '\n') {
        line.see(*c);
        continue;
      }
      if (line.keyword.found()) return line.value.value();
      line = Line();
    }
  }
  return line.keyword.found() ? line.value.value() : std::nullopt;
}

}  // namespace Heartbeat
