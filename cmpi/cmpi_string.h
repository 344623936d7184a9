#pragma once

#include "cmpi/cmpi_object.h"

/// Text made by the broker; immutable, so copies share it.
class CmpiString : public CmpiObject {
 public:
  CmpiString() = default;
  /// Copies the text; a null text gives a null string.
  ///
  /// Fails: CmpiStatus of the broker.
  explicit CmpiString(const char* text);
  explicit CmpiString(const CMPIString* enc) : CmpiObject(enc) {}

  CMPIString* getEnc() const { return static_cast<CMPIString*>(enc_); }

  /// Valid as long as the string; null when the string is null or has no text.
  const char* charPtr() const;

  /// A null text equals nothing, not even another null.
  bool equals(const char* other) const;
  bool equals(const CmpiString& other) const { return equals(other.charPtr()); }
};
