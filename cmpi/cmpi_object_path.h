#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object.h"
#include "cmpi/cmpi_reference_text.h"
#include "cmpi/cmpi_string.h"

/// Namespace, class and keys of an object. Copies share the path: a key set through one is seen
/// through all.
///
/// Every operation throws the broker's CmpiStatus unless it says otherwise.
class CmpiObjectPath : public CmpiObject {
 public:
  CmpiObjectPath(const char* nameSpace, const char* className);
  CmpiObjectPath(const CmpiString& nameSpace, const char* className)
      : CmpiObjectPath(nameSpace.charPtr(), className) {}
  explicit CmpiObjectPath(const CMPIObjectPath* enc) : CmpiObject(enc) {}

  CMPIObjectPath* getEnc() const { return static_cast<CMPIObjectPath*>(enc_); }

  /// True when the path's class is `className` or derives from it in the path's namespace. Unknown
  /// classes are not.
  bool classPathIsA(const char* className) const;

  /// May be null, and may be an object without a text.
  CmpiString getHostname() const;
  CmpiString getNameSpace() const;
  CmpiString getClassName() const;
  void setHostname(const char* host);
  void setNameSpace(const char* nameSpace);

  CMPICount getKeyCount() const;
  /// An absent key is data in the not-found state, no failure.
  CmpiData getKey(const char* name) const;
  CmpiData getKey(CMPICount index, CmpiString* name = nullptr) const;
  /// Adds or replaces.
  ///
  /// Fails also: CmpiReferenceError for a reference that cannot be carried.
  void setKey(const char* name, const CmpiData& value);
  void setKey(const char* name, const CmpiObjectPath& path);

  /// What this handle knows of references to the path.
  const CmpiReferenceText& referenceText() const { return referenceText_; }

 private:
  void addKey(const char* name, const CmpiData& value);

  CmpiReferenceText referenceText_;
};

/// Class and namespace without regard to case, host (absent, empty and unreadable are one), and the
/// same keys in any order, names without regard to case, of equal type and value.
bool operator==(const CmpiObjectPath& a, const CmpiObjectPath& b);
inline bool operator!=(const CmpiObjectPath& a, const CmpiObjectPath& b) { return !(a == b); }
