#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object.h"
#include "cmpi/cmpi_object_path.h"

/// An instance under construction or received. Copies share it.
///
/// Every operation throws the broker's CmpiStatus unless it says otherwise.
class CmpiInstance : public CmpiObject {
 public:
  /// A new instance with the path's namespace, class and keys.
  explicit CmpiInstance(const CmpiObjectPath& path);
  explicit CmpiInstance(const CMPIInstance* enc) : CmpiObject(enc) {}

  CMPIInstance* getEnc() const { return static_cast<CMPIInstance*>(enc_); }

  CMPICount getPropertyCount() const;
  /// A missing property is data in the not-found state, not a failure. A failure that comes without
  /// a text is thrown with `name` as its text.
  CmpiData getProperty(const char* name) const;
  /// The property at `index`, in the broker's order. Its name is stored in `name` unless that is
  /// null.
  CmpiData getProperty(CMPICount index, CmpiString* name = nullptr) const;
  /// Fails also: CmpiReferenceError for a reference that cannot be carried.
  void setProperty(const char* name, const CmpiData& value);
  void setProperty(const char* name, const CmpiObjectPath& path);

  /// From now on the instance holds only the listed properties and its keys: others that are set
  /// already, or are set later, are dropped. A null list keeps everything; null for `keys` names no
  /// keys.
  void setPropertyFilter(const char** properties, const char** keys = nullptr);

  /// A new path with the keys that the class declares.
  CmpiObjectPath getObjectPath() const;

 private:
  void passProperty(const char* name, const CmpiData& value);
};
