#include "serve/authenticator.h"

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "serve/addresses.h"
#include "serve/log.h"

namespace orv::serve {
namespace {

/// Gives a place among the running checks back, however the check ends.
class Place {
 public:
  Place(std::mutex& mutex, std::size_t& count) : mutex_(mutex), count_(count) {}
  ~Place() {
    const std::lock_guard<std::mutex> lock(mutex_);
    --count_;
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

 private:
  std::mutex& mutex_;
  std::size_t& count_;
};

}  // namespace

Authenticator::Authenticator(Check check, Settings settings)
    : check_(std::move(check)), settings_(settings) {
  if (gnutls_rnd(GNUTLS_RND_KEY, key_.data(), key_.size()) != 0) {
    throw std::runtime_error("there is no source of random numbers");
  }
}

Authenticator::Hash Authenticator::hashOf(const std::string& user,
                                          const std::string& password) const {
  // A name has no null character, so no two pairs make the same text.
  std::string text = user + '\0' + password;
  Hash hash{};
  const int error = gnutls_hmac_fast(GNUTLS_MAC_SHA256, key_.data(), key_.size(), text.data(),
                                     text.size(), hash.data());
  gnutls_memset(text.data(), 0, text.size());
  if (error != 0) throw std::runtime_error("a password cannot be hashed");
  return hash;
}

bool Authenticator::isRemembered(const Hash& hash, Clock::time_point now) {
  const auto found = known_.find(hash);
  if (found == known_.end()) return false;
  if (now < found->second) return true;
  known_.erase(found);
  return false;
}

void Authenticator::remember(const Hash& hash, Clock::time_point now) {
  if (known_.size() >= settings_.usersRemembered) known_.clear();
  known_[hash] = now + settings_.remembered;
}

/// Forgets addresses whose failures are forgiven, and when that is not enough the one that failed
/// longest ago.
void Authenticator::makeRoom(Clock::time_point now) {
  if (failures_.size() < settings_.addressesCounted) return;
  for (auto it = failures_.begin(); it != failures_.end();) {
    it = now - it->second.last > settings_.forgiven ? failures_.erase(it) : std::next(it);
  }
  if (failures_.size() < settings_.addressesCounted) return;
  failures_.erase(
      std::min_element(failures_.begin(), failures_.end(),
                       [](const auto& a, const auto& b) { return a.second.last < b.second.last; }));
}

std::chrono::milliseconds Authenticator::countFailure(const std::string& address,
                                                      Clock::time_point now) {
  const std::string counted = addressForCounting(address);
  if (failures_.count(counted) == 0) makeRoom(now);
  Failures& failures = failures_[counted];
  if (now - failures.last > settings_.forgiven) failures.count = 0;
  constexpr unsigned kMaximumDoublings = 16;
  const unsigned doublings = std::min(failures.count, kMaximumDoublings);
  const auto delay = std::min(settings_.firstDelay * (1U << doublings), settings_.longestDelay);
  ++failures.count;
  failures.last = now;
  failures.waitUntil = now + delay;
  return delay;
}

Authenticator::Answer Authenticator::authenticate(const std::string& address,
                                                  const std::string& user,
                                                  const std::string& password,
                                                  Clock::time_point now) {
  const Hash hash = hashOf(user, password);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isRemembered(hash, now)) return {Verdict::kRight, {}};
    const auto failed = failures_.find(addressForCounting(address));
    if (failed != failures_.end() && now < failed->second.waitUntil) return {Verdict::kTooMany, {}};
    if (checking_ >= settings_.checksAtATime) return {Verdict::kTooMany, {}};
    ++checking_;
  }
  const Place place(mutex_, checking_);
  const bool right = check_(user, password);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (right) {
    failures_.erase(addressForCounting(address));
    remember(hash, now);
    return {Verdict::kRight, {}};
  }
  log(LogLevel::kWarning, "authentication of user \"" + user + "\" from " + address + " failed");
  return {Verdict::kWrong, countFailure(address, now)};
}

void Authenticator::forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  known_.clear();
}

}  // namespace orv::serve
