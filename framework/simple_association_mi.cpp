#include "framework/simple_association_mi.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_result_filters.h"
#include "framework/object_identity.h"
#include "framework/text.h"

namespace OMC {

namespace {

/// The status that a sink answers to the provider: the one that `work` throws, or OK.
template <typename Work>
CMPIStatus answerOf(Work work) {
  try {
    work();
    return {CMPI_RC_OK, nullptr};
  } catch (const CmpiStatus& status) {
    return status.status();
  }
}

struct Reference {
  std::string role;  ///< name of the property
  CmpiObjectPath path;
};

/// The references of an association instance, in its own order. Left out are those that are null or
/// that the broker cannot read.
std::vector<Reference> referencesOf(const CmpiInstance& instance) {
  std::vector<Reference> references;
  const CMPICount count = instance.getPropertyCount();
  for (CMPICount i = 0; i < count; ++i) {
    CmpiString name;
    const CmpiData property = instance.getProperty(i, &name);
    if (property.isNotFound() || property.isNullValue() || property.getType() != CMPI_ref) continue;
    CmpiObjectPath path(property);
    if (!path.isNull()) references.push_back({ORV::textOf(name), path});
  }
  return references;
}

/// The object that a request starts from. Its keys are read only after the hook has returned an
/// association of it: an object manager asks every association provider about objects of any class,
/// and may crash when keys are read, for example when the path gives a key twice.
class Source {
 public:
  explicit Source(const CmpiObjectPath& path)
      : path_(path), nameSpace_(ORV::nameSpaceOf(path)), className_(ORV::classNameOf(path)) {}

  const std::string& nameSpace() const { return nameSpace_; }

  /// What the association leads to: every reference except the one to the source. That is the
  /// reference to the same object or, where there is none (for example because the client left out
  /// a key), the first reference to an object of the same class.
  std::vector<CmpiObjectPath> otherEnds(const CmpiInstance& association) const {
    std::vector<Reference> references = referencesOf(association);
    const auto self = findSelf(references);
    if (self != references.end()) references.erase(self);

    std::vector<CmpiObjectPath> ends;
    ends.reserve(references.size());
    for (const Reference& reference : references) ends.push_back(reference.path);
    return ends;
  }

 private:
  using References = std::vector<Reference>;

  /// Reads keys only where several references are of the source's class.
  References::iterator findSelf(References& references) const {
    const auto isOfClass = [&](const Reference& reference) {
      return ORV::sameName(ORV::classNameOf(reference.path).c_str(), className_.c_str());
    };
    const auto isSource = [&](const Reference& reference) {
      return isOfClass(reference) && ORV::objectIdentity(reference.path, nameSpace_) == identity();
    };
    const auto first = std::find_if(references.begin(), references.end(), isOfClass);
    if (first == references.end() || std::none_of(first + 1, references.end(), isOfClass)) {
      return first;
    }
    const auto same = std::find_if(first, references.end(), isSource);
    return same != references.end() ? same : first;
  }

  const std::string& identity() const {
    if (identity_.empty()) identity_ = ORV::objectIdentity(path_, nameSpace_);
    return identity_;
  }

  CmpiObjectPath path_;
  std::string nameSpace_;
  std::string className_;
  mutable std::string identity_;  ///< made when first needed
};

/// Passes association instances on, with the property list applied.
class PropertyListSink : public CmpiResultFilter {
 public:
  PropertyListSink(const CmpiResult& inner, const char** properties)
      : CmpiResultFilter(inner), properties_(properties) {}

 private:
  CMPIStatus onInstance(const CMPIInstance* enc) override {
    return answerOf([&] {
      CmpiInstance instance(enc);
      instance.setPropertyFilter(properties_);
      CmpiResult(inner()).returnData(instance);
    });
  }

  const char** properties_;
};

/// Passes on the object paths of the association instances. A broker that does not know the keys of
/// the class makes a path without the references; they are added, since they are the keys of an
/// association.
class ReferenceNameSink : public CmpiResultFilter {
 public:
  explicit ReferenceNameSink(const CmpiResult& inner) : CmpiResultFilter(inner) {}

 private:
  CMPIStatus onInstance(const CMPIInstance* enc) override {
    return answerOf([&] {
      const CmpiInstance instance(enc);
      CmpiObjectPath path = instance.getObjectPath();
      for (const Reference& reference : referencesOf(instance)) {
        const CmpiData key = path.getKey(reference.role.c_str());
        if (key.isNotFound() || key.isNullValue()) {
          path.setKey(reference.role.c_str(), reference.path);
        }
      }
      CmpiResult(inner()).returnData(path);
    });
  }
};

/// Passes on the paths of the objects at the other ends.
class OtherEndNameSink : public CmpiResultFilter {
 public:
  OtherEndNameSink(const CmpiResult& inner, const Source& source)
      : CmpiResultFilter(inner), source_(source) {}

 private:
  CMPIStatus onInstance(const CMPIInstance* enc) override {
    return answerOf([&] {
      for (const CmpiObjectPath& end : source_.otherEnds(CmpiInstance(enc))) {
        CmpiResult(inner()).returnData(end);
      }
    });
  }
  CMPIStatus onObjectPath(const CMPIObjectPath*) override { return {CMPI_RC_OK, nullptr}; }

  const Source& source_;
};

/// Keeps the paths of the objects at the other ends, and whether the provider was done. The objects
/// are fetched when the provider has returned and no longer holds a lock.
class OtherEndCollector : public CmpiResultFilter {
 public:
  OtherEndCollector(const CmpiResult& inner, const Source& source)
      : CmpiResultFilter(inner), source_(source) {}

  const std::vector<CmpiObjectPath>& ends() const { return ends_; }
  bool isDone() const { return done_; }

 private:
  CMPIStatus onInstance(const CMPIInstance* enc) override {
    return answerOf([&] {
      for (const CmpiObjectPath& end : source_.otherEnds(CmpiInstance(enc))) ends_.push_back(end);
    });
  }
  CMPIStatus onObjectPath(const CMPIObjectPath*) override { return {CMPI_RC_OK, nullptr}; }
  CMPIStatus onDone() override {
    done_ = true;
    return {CMPI_RC_OK, nullptr};
  }

  const Source& source_;
  std::vector<CmpiObjectPath> ends_;
  bool done_ = false;
};

/// Whether a look-up failed because the object is not there.
bool isAbsence(const CmpiStatus& status) {
  return status.rc() == CMPI_RC_ERR_NOT_FOUND || status.rc() == CMPI_RC_ERR_INVALID_CLASS ||
         status.rc() == CMPI_RC_ERR_INVALID_NAMESPACE;
}

/// Keeps the first instance that a provider returns.
class CapturedInstance : public CmpiResultFilter {
 public:
  explicit CapturedInstance(const CmpiResult& inner) : CmpiResultFilter(inner) {}

  const std::optional<CmpiInstance>& instance() const { return instance_; }

 private:
  CMPIStatus onInstance(const CMPIInstance* instance) override {
    if (!instance_) instance_.emplace(instance);
    return {CMPI_RC_OK, nullptr};
  }
  CMPIStatus onObjectPath(const CMPIObjectPath*) override { return {CMPI_RC_OK, nullptr}; }
  CMPIStatus onDone() override { return {CMPI_RC_OK, nullptr}; }

  std::optional<CmpiInstance> instance_;
};

/// Finds objects by their paths, for one request. The result is absent when there is no such
/// object.
///
/// Fails: CmpiStatus for any other failure.
class ObjectFinder {
 public:
  ObjectFinder(const CmpiContext& context, const CmpiBroker& broker, const CmpiResult& result,
               std::string defaultNameSpace)
      : context_(context),
        broker_(broker),
        result_(result),
        defaultNameSpace_(std::move(defaultNameSpace)) {}

  /// Asks the provider that serves the object's class.
  std::optional<CmpiInstance> find(CmpiInstanceMI& provider, const CmpiObjectPath& path) {
    CapturedInstance captured(result_);
    const CmpiStatus status = provider.getInstance(context_, captured, path, nullptr);
    throwUnlessOk(status.status());
    const auto& found = captured.instance();
    // A provider that reads the path leniently may return another object.
    return found && ORV::hasKeysOf(*found, path, defaultNameSpace_) ? found : std::nullopt;
  }

  /// Asks the broker, which enumerates each class once per request.
  std::optional<CmpiInstance> find(const CmpiObjectPath& path) {
    const std::string nameSpace = ORV::plainNameSpace(path, defaultNameSpace_);
    const Objects& objects = objectsOf(nameSpace, ORV::classNameOf(path));
    const auto found = objects.find(ORV::objectIdentity(path, defaultNameSpace_));
    return found != objects.end() ? found->second : findByProperties(objects, path);
  }

 private:
  using Objects =
      std::unordered_multimap<std::string, CmpiInstance>;  ///< incomplete paths may be equal

  const Objects& objectsOf(const std::string& nameSpace, const std::string& className) {
    const auto [entry, isNew] = classes_.try_emplace({nameSpace, className});
    if (isNew) enumerate(nameSpace, className, entry->second);
    return entry->second;
  }

  /// Asks without a property list: keys that are not in a list would be missing from the paths.
  void enumerate(const std::string& nameSpace, const std::string& className, Objects& objects) {
    try {
      const CmpiObjectPath classPath(nameSpace.c_str(), className.c_str());
      const CmpiEnumeration all = broker_.enumInstances(context_, classPath, nullptr);
      while (all.hasNext()) add(all.getNext(), objects);
    } catch (const CmpiStatus& status) {
      if (!isAbsence(status)) throw;
    }
  }

  void add(const CmpiData& element, Objects& objects) {
    if (element.isNullValue() || element.getType() != CMPI_instance) return;
    const CmpiInstance instance(element);
    if (instance.isNull()) return;
    try {
      objects.emplace(ORV::objectIdentity(instance.getObjectPath(), defaultNameSpace_), instance);
    } catch (const CmpiStatus&) {
      // An instance without a path cannot be the one that is looked for.
    }
  }

  /// An instance of the path's class whose own path lacks keys.
  std::optional<CmpiInstance> findByProperties(const Objects& objects,
                                               const CmpiObjectPath& path) const {
    const std::string className = ORV::classNameOf(path);
    for (const auto& entry : objects) {
      const CmpiInstance& instance = entry.second;
      if (ORV::sameName(ORV::classNameOf(instance.getObjectPath()).c_str(), className.c_str()) &&
          ORV::hasKeysOf(instance, path, defaultNameSpace_)) {
        return instance;
      }
    }
    return std::nullopt;
  }

  const CmpiContext& context_;
  const CmpiBroker& broker_;
  const CmpiResult& result_;
  std::string defaultNameSpace_;
  std::map<std::pair<std::string, std::string>, Objects> classes_;
};

}  // namespace

SimpleAssociationMI::SimpleAssociationMI(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context), CmpiAssociationMI(mbp, context) {}

CmpiInstanceMI* SimpleAssociationMI::instancesOf(const CmpiObjectPath& /*path*/) { return nullptr; }

CmpiStatus SimpleAssociationMI::references(const CmpiContext& context, CmpiResult& result,
                                           const CmpiObjectPath& path, const char* resultClass,
                                           const char* role, const char** properties) {
  PropertyListSink sink(result, properties);
  return doReferences(context, sink, path, resultClass, nullptr, role, nullptr);
}

CmpiStatus SimpleAssociationMI::referenceNames(const CmpiContext& context, CmpiResult& result,
                                               const CmpiObjectPath& path, const char* resultClass,
                                               const char* role) {
  ReferenceNameSink sink(result);
  return doReferences(context, sink, path, resultClass, nullptr, role, nullptr);
}

CmpiStatus SimpleAssociationMI::associatorNames(const CmpiContext& context, CmpiResult& result,
                                                const CmpiObjectPath& path, const char* assocClass,
                                                const char* resultClass, const char* role,
                                                const char* resultRole) {
  const Source source(path);
  OtherEndNameSink sink(result, source);
  return doReferences(context, sink, path, assocClass, resultClass, role, resultRole);
}

CmpiStatus SimpleAssociationMI::associators(const CmpiContext& context, CmpiResult& result,
                                            const CmpiObjectPath& path, const char* assocClass,
                                            const char* resultClass, const char* role,
                                            const char* resultRole, const char** properties) {
  const Source source(path);
  OtherEndCollector collector(result, source);
  const CmpiStatus status =
      doReferences(context, collector, path, assocClass, resultClass, role, resultRole);

  ObjectFinder finder(context, *broker, result, source.nameSpace());
  const auto find = [&](const CmpiObjectPath& end) -> std::optional<CmpiInstance> {
    try {
      CmpiInstanceMI* own = instancesOf(end);
      return own == nullptr ? finder.find(end) : finder.find(*own, end);
    } catch (const CmpiStatus& lookUp) {
      if (!isAbsence(lookUp)) throw;
      return std::nullopt;
    }
  };
  for (const CmpiObjectPath& end : collector.ends()) {
    std::optional<CmpiInstance> found = find(end);
    if (!found) continue;
    found->setPropertyFilter(properties);
    result.returnData(*found);
  }
  if (collector.isDone()) result.returnDone();
  return status;
}

}  // namespace OMC
