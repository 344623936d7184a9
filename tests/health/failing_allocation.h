#pragma once

/// Replaces the non-throwing operator new[] of the program.
namespace orv::test {

/// While it lives, `new (std::nothrow) T[n]` gives null.
class FailingArrayAllocation {
 public:
  FailingArrayAllocation();
  ~FailingArrayAllocation();
  FailingArrayAllocation(const FailingArrayAllocation&) = delete;
  FailingArrayAllocation& operator=(const FailingArrayAllocation&) = delete;
};

}  // namespace orv::test
