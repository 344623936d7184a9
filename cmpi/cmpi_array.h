#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object.h"

class CmpiArrayIdx;

/// Array whose elements have one type. Every element is null until it is assigned. Copies share the
/// array.
class CmpiArray : public CmpiObject {
 public:
  CmpiArray() = default;
  /// `type` is the type of an element.
  ///
  /// Fails: CmpiStatus of the broker.
  CmpiArray(CMPICount size, CMPIType type);
  explicit CmpiArray(const CMPIArray* enc) : CmpiObject(enc) {}

  CMPIArray* getEnc() const { return static_cast<CMPIArray*>(enc_); }

  /// 0 for a null array.
  CMPICount size() const;
  /// Type of an element; CMPI_null for a null array.
  CMPIType simpleType() const;

  CmpiArrayIdx operator[](CMPICount index) const;

 private:
  CMPIType type_ = CMPI_null;  // of an element; CMPI_null in a handle that did not make the array
};

/// One position of an array, to read or to assign.
class CmpiArrayIdx {
 public:
  CmpiArrayIdx(const CmpiArray& array, CMPICount index) : array_(array), index_(index) {}

  /// Fails: CmpiReferenceError for a reference that cannot be carried; CmpiStatus 13 unless the
  /// value has the array's element type (a text fits a string array), or the broker's status.
  const CmpiArrayIdx& operator=(const CmpiData& data) const;

  /// Fails: the broker's status.
  CmpiData getData() const;

 private:
  CmpiArray array_;
  CMPICount index_;
};

inline CmpiArrayIdx CmpiArray::operator[](CMPICount index) const { return {*this, index}; }
