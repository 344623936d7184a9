#pragma once

#include <cstddef>
#include <cstdint>

#include "cmpi/cmpi_data.h"

/// Characters of a reference's text that an object manager carries.
inline constexpr std::size_t kLongestReference = 4095;

/// What the handle that made a path knows of the text of a reference to it, so that a reference
/// made of the provider's own texts need not be read back before it is set (cmpi_reference.h).
///
/// It proves, and never refuses: what it cannot prove the object manager is asked about. It counts
/// everything that was ever set, and each key must be a text. A copied handle knows nothing; a
/// key set through such a handle ends all knowledge in the process, since the path may be one that
/// another handle speaks for.
class CmpiReferenceText {
 public:
  /// Of a path that others made.
  CmpiReferenceText() = default;
  /// Of a new path; null texts prove nothing.
  CmpiReferenceText(const char* nameSpace, const char* className);

  CmpiReferenceText(const CmpiReferenceText&) {}
  CmpiReferenceText& operator=(const CmpiReferenceText&);
  CmpiReferenceText(CmpiReferenceText&& other) noexcept;
  CmpiReferenceText& operator=(CmpiReferenceText&& other) noexcept;
  ~CmpiReferenceText() = default;

  /// Before a key is set.
  void add(const char* name, const CmpiData& value);
  /// Before another part of the path is set.
  void forget();

  /// False: not known.
  bool isCarriable() const;

 private:
  bool isOwn_ = false;         ///< the handle made the path
  std::size_t length_ = 0;     ///< at most; 0 when there is no proof
  std::uint32_t changes_ = 0;  ///< keys set through handles of others' paths until then
};
