#include "cmpi/cmpi_data.h"

#include "cmpi/cmpi_array.h"
#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_status.h"
#include "cmpi/cmpi_string.h"

namespace {

/// A union value with one member set; the rest of its 16 bytes is zero.
template <typename T>
CMPIValue valueOf(T CMPIValue::*member, T value) {
  CMPIValue result{};
  result.*member = value;
  return result;
}

/// A member of the union; 0 or null for a null value.
///
/// Fails: CmpiStatus 13 for a value of another type.
template <typename T>
T read(const CMPIData& data, CMPIType type, T CMPIValue::*member) {
  if (data.type != type) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH);
  return (data.state & CMPI_nullValue) != 0 ? T{} : data.value.*member;
}

}  // namespace

CmpiData::CmpiData() : data_{CMPI_null, CMPI_nullValue, {}} {}

CmpiData::CmpiData(CMPIType type, const CMPIValue& value, bool null)
    : data_{type, static_cast<CMPIValueState>(null ? CMPI_nullValue : CMPI_goodValue), value} {}

CmpiData::CmpiData(CMPISint8 value)
    : CmpiData(CMPI_sint8, valueOf(&CMPIValue::sint8, value), false) {}
CmpiData::CmpiData(CMPISint16 value)
    : CmpiData(CMPI_sint16, valueOf(&CMPIValue::sint16, value), false) {}
CmpiData::CmpiData(CMPISint32 value)
    : CmpiData(CMPI_sint32, valueOf(&CMPIValue::sint32, value), false) {}
CmpiData::CmpiData(CMPISint64 value)
    : CmpiData(CMPI_sint64, valueOf(&CMPIValue::sint64, value), false) {}
CmpiData::CmpiData(CMPIUint8 value)
    : CmpiData(CMPI_uint8, valueOf(&CMPIValue::uint8, value), false) {}
CmpiData::CmpiData(CMPIUint16 value)
    : CmpiData(CMPI_uint16, valueOf(&CMPIValue::uint16, value), false) {}
CmpiData::CmpiData(CMPIUint32 value)
    : CmpiData(CMPI_uint32, valueOf(&CMPIValue::uint32, value), false) {}
CmpiData::CmpiData(CMPIUint64 value)
    : CmpiData(CMPI_uint64, valueOf(&CMPIValue::uint64, value), false) {}
CmpiData::CmpiData(unsigned long value) : CmpiData(static_cast<CMPIUint64>(value)) {}
CmpiData::CmpiData(CMPIReal32 value)
    : CmpiData(CMPI_real32, valueOf(&CMPIValue::real32, value), false) {}
CmpiData::CmpiData(CMPIReal64 value)
    : CmpiData(CMPI_real64, valueOf(&CMPIValue::real64, value), false) {}
CmpiData::CmpiData(const char* text)
    : CmpiData(CMPI_chars, valueOf(&CMPIValue::chars, const_cast<char*>(text)), text == nullptr) {}
CmpiData::CmpiData(const CmpiString& text)
    : CmpiData(CMPI_string, valueOf(&CMPIValue::string, text.getEnc()), text.isNull()) {}
CmpiData::CmpiData(const CmpiDateTime& value)
    : CmpiData(CMPI_dateTime, valueOf(&CMPIValue::dateTime, value.getEnc()), value.isNull()) {}
CmpiData::CmpiData(const CmpiArray& value)
    : CmpiData(static_cast<CMPIType>(value.simpleType() | CMPI_ARRAY),
               valueOf(&CMPIValue::array, value.getEnc()), value.isNull()) {}
CmpiData::CmpiData(const CmpiObjectPath& path)
    : CmpiData(CMPI_ref, valueOf(&CMPIValue::ref, path.getEnc()), path.isNull()) {}
CmpiData::CmpiData(const CmpiInstance& value)
    : CmpiData(CMPI_instance, valueOf(&CMPIValue::inst, value.getEnc()), value.isNull()) {}

CmpiBooleanData::CmpiBooleanData(bool value)
    : CmpiData(CMPI_boolean, valueOf(&CMPIValue::boolean, static_cast<CMPIBoolean>(value ? 1 : 0)),
               false) {}

CmpiData::operator CmpiString() const {
  if (data_.type == CMPI_chars) return CmpiString(data_.value.chars);
  return CmpiString(read(data_, CMPI_string, &CMPIValue::string));
}
CmpiData::operator CmpiArray() const {
  if ((data_.type & CMPI_ARRAY) == 0) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH);
  return CmpiArray(read(data_, data_.type, &CMPIValue::array));
}
CmpiData::operator CmpiDateTime() const {
  return CmpiDateTime(read(data_, CMPI_dateTime, &CMPIValue::dateTime));
}
CmpiData::operator CmpiInstance() const {
  return CmpiInstance(read(data_, CMPI_instance, &CMPIValue::inst));
}
CmpiData::operator CmpiObjectPath() const {
  return CmpiObjectPath(read(data_, CMPI_ref, &CMPIValue::ref));
}
CmpiData::operator CMPISint8() const { return read(data_, CMPI_sint8, &CMPIValue::sint8); }
CmpiData::operator CMPISint16() const { return read(data_, CMPI_sint16, &CMPIValue::sint16); }
CmpiData::operator CMPISint32() const { return read(data_, CMPI_sint32, &CMPIValue::sint32); }
CmpiData::operator CMPISint64() const { return read(data_, CMPI_sint64, &CMPIValue::sint64); }
CmpiData::operator CMPIUint8() const {
  return read(data_, data_.type == CMPI_boolean ? CMPI_boolean : CMPI_uint8, &CMPIValue::uint8);
}
CmpiData::operator CMPIUint16() const {
  return read(data_, data_.type == CMPI_char16 ? CMPI_char16 : CMPI_uint16, &CMPIValue::uint16);
}
CmpiData::operator CMPIUint32() const { return read(data_, CMPI_uint32, &CMPIValue::uint32); }
CmpiData::operator CMPIUint64() const { return read(data_, CMPI_uint64, &CMPIValue::uint64); }
CmpiData::operator CMPIReal32() const { return read(data_, CMPI_real32, &CMPIValue::real32); }
CmpiData::operator CMPIReal64() const { return read(data_, CMPI_real64, &CMPIValue::real64); }

const CMPIValue* CmpiData::passedValue() const {
  if (isNullValue()) return nullptr;
  if (data_.type == CMPI_chars) return reinterpret_cast<const CMPIValue*>(data_.value.chars);
  return &data_.value;
}

CmpiData CmpiData::notFound() {
  return CmpiData(CMPIData{CMPI_null, CMPI_nullValue | CMPI_notFound, {}});
}

std::optional<std::string> integerText(const CmpiData& data) {
  const CMPIValue& value = data.data().value;
  switch (data.getType()) {
    case CMPI_uint8:
      return std::to_string(value.uint8);
    case CMPI_uint16:
    case CMPI_char16:
      return std::to_string(value.uint16);
    case CMPI_uint32:
      return std::to_string(value.uint32);
    case CMPI_uint64:
      return std::to_string(value.uint64);
    case CMPI_sint8:
      return std::to_string(value.sint8);
    case CMPI_sint16:
      return std::to_string(value.sint16);
    case CMPI_sint32:
      return std::to_string(value.sint32);
    case CMPI_sint64:
      return std::to_string(value.sint64);
    default:
      return std::nullopt;
  }
}
