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

  /// True when the path's class is `className` or derives from it in the path's namespace. False
  /// for a class that the broker does not know.
  bool classPathIsA(const char* className) const;

  /// Each may be a null string, and may be a string whose text is null.
  CmpiString getHostname() const;
  CmpiString getNameSpace() const;
  CmpiString getClassName() const;
  void setHostname(const char* host);
  void setNameSpace(const char* nameSpace);

  CMPICount getKeyCount() const;
  /// A missing key is data in the not-found state, not a failure.
  CmpiData getKey(const char* name) const;
  /// The key at `index`, in the broker's order. Its name is stored in `name` unless that is null.
  CmpiData getKey(CMPICount index, CmpiString* name = nullptr) const;
  /// Adds the key, or replaces its value.
  ///
  /// Fails also: CmpiReferenceError for a reference that cannot be carried.
  void setKey(const char* name, const CmpiData& value);
  void setKey(const char* name, const CmpiObjectPath& path);

  /// What this handle knows about references to the path.
  const CmpiReferenceText& referenceText() const { return referenceText_; }

 private:
  void addKey(const char* name, const CmpiData& value);

  CmpiReferenceText referenceText_;
};

/// Equal paths have the same class, namespace and host without regard to case (an absent, an empty
/// and an unreadable host are the same), and the same keys in any order: names without regard to
/// case, equal types (string and chars count as one) and equal values. Two null paths are equal.
bool operator==(const CmpiObjectPath& a, const CmpiObjectPath& b);
inline bool operator!=(const CmpiObjectPath& a, const CmpiObjectPath& b) { return !(a == b); }
