#pragma once

namespace orv::test {

/// Whether the address or the thread sanitizer watches: many times slower, with a heap of its own
/// that keeps what is freed, and terabytes of address space reserved.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

}  // namespace orv::test
