#pragma once

#include <cstddef>
#include <cstdint>

#include "cmpi/cmpi_data.h"

/// Characters of the longest reference text that an object manager carries.
inline constexpr std::size_t kLongestReference = 4095;

/// What the handle that made a path knows about the text of a reference to it, so that a reference
/// made of the provider's own texts need not be read back before it is set (cmpi_reference.h).
///
/// It proves that a path can be carried and never refuses one: what it cannot prove, the object
/// manager is asked about. The length counts every key that was ever set, and a key that is not a
/// text ends the proof. A copy of a handle knows nothing. A key set through such a copy ends all
/// proofs of the process so far, since the path may be one that another handle made.
class CmpiReferenceText {
 public:
  /// For a path that this handle did not make.
  CmpiReferenceText() = default;
  /// For a new path; null texts prove nothing.
  CmpiReferenceText(const char* nameSpace, const char* className);

  CmpiReferenceText(const CmpiReferenceText&) {}
  CmpiReferenceText& operator=(const CmpiReferenceText&);
  CmpiReferenceText(CmpiReferenceText&& other) noexcept;
  CmpiReferenceText& operator=(CmpiReferenceText&& other) noexcept;
  ~CmpiReferenceText() = default;

  /// Called before a key is set.
  void add(const char* name, const CmpiData& value);
  /// Called before the namespace is set.
  void forget();

  /// Whether it is proved that a reference to the path can be carried.
  bool isCarriable() const;

 private:
  bool isOwn_ = false;         ///< the handle made the path
  std::size_t length_ = 0;     ///< upper bound; 0 when there is no proof
  std::uint32_t changes_ = 0;  ///< made through other handles when the path was made
};
