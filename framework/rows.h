#pragma once

#include <cstddef>

namespace ORV {

/// The rows of a table that stands in a source file, in their order. The table's size is that of
/// its list.
template <typename Row>
class Rows {
 public:
  template <std::size_t count>
  constexpr Rows(const Row (&rows)[count])  // NOLINT(google-explicit-constructor)
      : begin_(rows), end_(rows + count) {}

  constexpr const Row* begin() const { return begin_; }
  constexpr const Row* end() const { return end_; }

 private:
  const Row* begin_;
  const Row* end_;
};

}  // namespace ORV
