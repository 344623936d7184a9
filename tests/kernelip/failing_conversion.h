#pragma once

/// Replaces inet_ntop in a program that links failing_conversion.cpp with --wrap=inet_ntop.
namespace orv::test {

/// While it lives, every conversion of an address to text fails.
class RefusedConversions {
 public:
  RefusedConversions();
  ~RefusedConversions();
  RefusedConversions(const RefusedConversions&) = delete;
  RefusedConversions& operator=(const RefusedConversions&) = delete;
};

}  // namespace orv::test
