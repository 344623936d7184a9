#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace orv::serve {

/// Decides whether a name and a password belong to a user who may send requests.
///
/// A correct password is not checked again for a while; it is remembered as a hash keyed with a
/// random key of this process. Failures are counted per address. Each one delays its answer, for
/// longer each time, and until then further attempts from the address are refused without a check.
class Authenticator {
 public:
  using Clock = std::chrono::steady_clock;

  /// The check itself: slow, and possibly called from several threads at once.
  using Check = std::function<bool(const std::string& user, const std::string& password)>;

  struct Settings {
    std::chrono::seconds remembered{60};         ///< how long a correct password is
    std::chrono::milliseconds firstDelay{1000};  ///< doubled with each failure
    std::chrono::milliseconds longestDelay{30'000};
    std::chrono::seconds forgiven{300};  ///< after the last failure of an address
    std::size_t usersRemembered = 256;
    std::size_t addressesCounted = 4096;
    std::size_t checksAtATime = 2;  ///< few, because password hashes are slow by design
  };

  enum class Verdict {
    kRight,
    kWrong,    ///< to be told after `delay`
    kTooMany,  ///< the address has to wait, or too many passwords are being checked
  };
  struct Answer {
    Verdict verdict = Verdict::kWrong;
    std::chrono::milliseconds delay{0};
  };

  explicit Authenticator(Check check) : Authenticator(std::move(check), Settings()) {}
  Authenticator(Check check, Settings settings);

  /// Thread-safe. Logs failures with user and address, never with the password.
  ///
  /// Fails: std::runtime_error when the password cannot be hashed; std::bad_alloc; passes on the
  /// check's exceptions.
  Answer authenticate(const std::string& address, const std::string& user,
                      const std::string& password, Clock::time_point now = Clock::now());

  /// Forgets the remembered passwords: each is checked again when it is next given.
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

/// Whether PAM (service "orvcim") accepts the password and the system's tables have the user as a
/// member of the group.
bool checkWithPam(const std::string& user, const std::string& password, const std::string& group);

}  // namespace orv::serve
