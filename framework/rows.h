#pragma once

#include <cstddef>

namespace ORV {

/// The rows of a table in a source file, in their order. Borrows the table, which must live as
/// long.
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
