#include "serve/open_enumerations.h"

#include <gnutls/crypto.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "cimxml/messages.h"
#include "serve/statuses.h"

namespace orv::serve {
namespace {

using cimxml::CimError;

std::string randomName() {
  std::array<unsigned char, 16> bytes{};
  if (gnutls_rnd(GNUTLS_RND_NONCE, bytes.data(), bytes.size()) != 0) {
    throw std::runtime_error("there is no source of random numbers");
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string name;
  for (const unsigned char byte : bytes) {
    name += kDigits[byte >> 4];
    name += kDigits[byte & 15];
  }
  return name;
}

[[noreturn]] void notOpen() {
  throw CimError(kInvalidEnumerationContext, "The enumeration context is not open");
}

}  // namespace

std::vector<broker::Instance> OpenEnumerations::take(Enumeration& enumeration, std::size_t count) {
  auto& objects = enumeration.objects;
  const auto end = objects.begin() + static_cast<std::ptrdiff_t>(std::min(count, objects.size()));
  std::vector<broker::Instance> taken(std::make_move_iterator(objects.begin()),
                                      std::make_move_iterator(end));
  objects.erase(objects.begin(), end);
  return taken;
}

OpenEnumerations::Batch OpenEnumerations::open(Enumeration enumeration, std::size_t count,
                                               Clock::time_point now) {
  Batch batch;
  batch.includeClassOrigin = enumeration.includeClassOrigin;
  batch.objects = take(enumeration, count);
  if (enumeration.objects.empty()) return batch;
  const std::lock_guard<std::mutex> lock(mutex_);
  expireLocked(now);
  if (open_.size() >= limits_.enumerations ||
      objects_ + enumeration.objects.size() > limits_.objects) {
    throw CimError(kServerLimitsExceeded, "Too many enumerations are open");
  }
  batch.context = randomName();
  objects_ += enumeration.objects.size();
  const Clock::time_point until = now + enumeration.timeout;
  open_.emplace(batch.context, Entry{std::move(enumeration), until});
  return batch;
}

OpenEnumerations::Batch OpenEnumerations::pull(const std::string& context, PullKind kind,
                                               std::size_t count, Clock::time_point now) {
  const std::lock_guard<std::mutex> lock(mutex_);
  expireLocked(now);
  const auto found = open_.find(context);
  if (found == open_.end() || found->second.enumeration.kind != kind) notOpen();
  Batch batch;
  batch.includeClassOrigin = found->second.enumeration.includeClassOrigin;
  batch.objects = take(found->second.enumeration, count);
  objects_ -= batch.objects.size();
  if (found->second.enumeration.objects.empty()) {
    open_.erase(found);
  } else {
    found->second.until = now + found->second.enumeration.timeout;
    batch.context = context;
  }
  return batch;
}

void OpenEnumerations::close(const std::string& context, Clock::time_point now) {
  const std::lock_guard<std::mutex> lock(mutex_);
  expireLocked(now);
  const auto found = open_.find(context);
  if (found == open_.end()) notOpen();
  erase(found);
}

void OpenEnumerations::erase(std::map<std::string, Entry>::iterator entry) {
  objects_ -= entry->second.enumeration.objects.size();
  open_.erase(entry);
}

void OpenEnumerations::expireLocked(Clock::time_point now) {
  for (auto it = open_.begin(); it != open_.end();) {
    const auto entry = it++;
    if (entry->second.until <= now) erase(entry);
  }
}

void OpenEnumerations::expire(Clock::time_point now) {
  const std::lock_guard<std::mutex> lock(mutex_);
  expireLocked(now);
}

std::size_t OpenEnumerations::size() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return open_.size();
}

}  // namespace orv::serve
