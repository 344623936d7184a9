#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object.h"
#include "cmpi/cmpi_object_path.h"

/// An instance under construction or received. Copies share it.
///
/// Every operation throws the broker's CmpiStatus unless it says otherwise.
class CmpiInstance : public CmpiObject {
 public:
  /// On the path's namespace, class and keys.
  explicit CmpiInstance(const CmpiObjectPath& path);
  explicit CmpiInstance(const CMPIInstance* enc) : CmpiObject(enc) {}

  CMPIInstance* getEnc() const { return static_cast<CMPIInstance*>(enc_); }

  CMPICount getPropertyCount() const;
  /// A missing property is data in the not-found state, no failure. A failure without a text gets
  /// the name as text.
  CmpiData getProperty(const char* name) const;
  CmpiData getProperty(CMPICount index, CmpiString* name = nullptr) const;
  /// Fails also: CmpiReferenceError for a reference that cannot be carried.
  void setProperty(const char* name, const CmpiData& value);
  void setProperty(const char* name, const CmpiObjectPath& path);

  /// Keeps the listed properties and the keys only, now and later; a null list keeps all.
  void setPropertyFilter(const char** properties, const char** keys = nullptr);

  /// A fresh path with the keys that the class declares.
  CmpiObjectPath getObjectPath() const;

 private:
  void passProperty(const char* name, const CmpiData& value);
};
