#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace orv::serve {

/// Decides whether a name and a password are those of somebody who may ask.
///
/// A password that was right is not looked up again for a while: what is kept of it is a hash under
/// a key of this process. Failures are counted for each address; each makes the next answer come
/// later, and further attempts are refused in the meantime without a look at the password.
class Authenticator {
 public:
  using Clock = std::chrono::steady_clock;

  /// The look-up itself: slow, and possibly at the same time in several threads.
  using Check = std::function<bool(const std::string& user, const std::string& password)>;

  struct Settings {
    std::chrono::seconds remembered{60};
    std::chrono::milliseconds firstDelay{1000};  ///< doubled with each failure
    std::chrono::milliseconds longestDelay{30'000};
    std::chrono::seconds forgiven{300};  ///< after the last failure of an address
    std::size_t usersRemembered = 256;
    std::size_t addressesCounted = 4096;
    std::size_t checksAtATime = 2;  ///< a hash of a password is made to be slow
  };

  enum class Verdict {
    kRight,
    kWrong,    ///< to be told after `delay`
    kTooMany,  ///< the address has to wait, or too many passwords are being looked up
  };
  struct Answer {
    Verdict verdict = Verdict::kWrong;
    std::chrono::milliseconds delay{0};
  };

  explicit Authenticator(Check check) : Authenticator(std::move(check), Settings()) {}
  Authenticator(Check check, Settings settings);

  /// Thread-safe. Logs failures with the address, never with the password.
  Answer authenticate(const std::string& address, const std::string& user,
                      const std::string& password, Clock::time_point now = Clock::now());

  /// Every password is looked up again.
  void forget();

 private:
  using Hash = std::array<unsigned char, 32>;
  struct Failures {
    unsigned count = 0;
    Clock::time_point last;
    Clock::time_point waitUntil;
  };

  Hash hashOf(const std::string& user, const std::string& password) const;
  bool isRemembered(const Hash& hash, Clock::time_point now);
  void remember(const Hash& hash, Clock::time_point now);
  std::chrono::milliseconds countFailure(const std::string& address, Clock::time_point now);
  void makeRoom(Clock::time_point now);

  const Check check_;
  const Settings settings_;
  Hash key_{};
  std::mutex mutex_;                         // guards what follows; not held during a check
  std::map<Hash, Clock::time_point> known_;  // until when
  std::map<std::string, Failures> failures_;
  std::size_t checking_ = 0;
};

/// Looks a password up with PAM, service "orvcim", and membership in the group in the system's
/// tables.
bool checkWithPam(const std::string& user, const std::string& password, const std::string& group);

}  // namespace orv::serve
