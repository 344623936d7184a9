#pragma once

#include <optional>
#include <string>

#include "cmpi/abi/cmpi_tables.h"

class CmpiArray;
class CmpiDateTime;
class CmpiInstance;
class CmpiObjectPath;
class CmpiString;

/// One typed value on its way to or from the broker. Owns nothing.
///
/// Conversions are strict: a value of any other type throws CmpiStatus with
/// CMPI_RC_ERR_TYPE_MISMATCH (13). A null value of the right type is not an error: it converts to a
/// null object or to 0, so ask isNullValue first.
class CmpiData {
 public:
  CmpiData();
  explicit CmpiData(const CMPIData& data) : data_(data) {}

  CmpiData(CMPISint8 value);      // NOLINT(google-explicit-constructor)
  CmpiData(CMPISint16 value);     // NOLINT(google-explicit-constructor)
  CmpiData(CMPISint32 value);     // NOLINT(google-explicit-constructor)
  CmpiData(CMPISint64 value);     // NOLINT(google-explicit-constructor)
  CmpiData(CMPIUint8 value);      // NOLINT(google-explicit-constructor)
  CmpiData(CMPIUint16 value);     // NOLINT(google-explicit-constructor)
  CmpiData(CMPIUint32 value);     // NOLINT(google-explicit-constructor)
  CmpiData(CMPIUint64 value);     // NOLINT(google-explicit-constructor)
  CmpiData(unsigned long value);  // NOLINT: std::uint64_t, sent as uint64
  CmpiData(CMPIReal32 value);     // NOLINT(google-explicit-constructor)
  CmpiData(CMPIReal64 value);     // NOLINT(google-explicit-constructor)
  CmpiData(const char* text);  // NOLINT: type chars; the text is not copied, null is a null value
  CmpiData(const CmpiString& text);      // NOLINT(google-explicit-constructor)
  CmpiData(const CmpiDateTime& value);   // NOLINT(google-explicit-constructor)
  CmpiData(const CmpiArray& value);      // NOLINT(google-explicit-constructor)
  CmpiData(const CmpiObjectPath& path);  // NOLINT(google-explicit-constructor)
  CmpiData(const CmpiInstance& value);   // NOLINT: an embedded instance
  /// A C++ bool would be converted to a number: use CmpiBooleanData.
  CmpiData(bool) = delete;

  CMPIType getType() const { return data_.type; }
  /// Whether it is a text, string or chars, null included.
  bool isText() const { return data_.type == CMPI_string || data_.type == CMPI_chars; }
  bool isNullValue() const { return (data_.state & CMPI_nullValue) != 0; }
  bool isNotFound() const { return (data_.state & CMPI_notFound) != 0; }

  explicit operator CmpiString() const;
  explicit operator CmpiDateTime() const;
  explicit operator CmpiArray() const;
  explicit operator CmpiInstance() const;
  explicit operator CmpiObjectPath() const;
  explicit operator CMPISint8() const;
  explicit operator CMPISint16() const;
  explicit operator CMPISint32() const;
  explicit operator CMPISint64() const;
  explicit operator CMPIUint8() const;   ///< uint8 or boolean
  explicit operator CMPIUint16() const;  ///< uint16 or char16
  explicit operator CMPIUint32() const;
  explicit operator CMPIUint64() const;
  explicit operator CMPIReal32() const;
  explicit operator CMPIReal64() const;

  const CMPIData& data() const { return data_; }

  /// The value as the C interface wants it: the text itself for chars, null for a null value.
  const CMPIValue* passedValue() const;

  /// The result of reading something that does not exist: no type, null, in the not-found state.
  static CmpiData notFound();

 protected:
  CmpiData(CMPIType type, const CMPIValue& value, bool null);

 private:
  CMPIData data_;
};

/// A value of type boolean.
class CmpiBooleanData : public CmpiData {
 public:
  explicit CmpiBooleanData(bool value);
};

/// The decimal digits of an integer, char16 included; absent for a value of any other type.
std::optional<std::string> integerText(const CmpiData& data);
