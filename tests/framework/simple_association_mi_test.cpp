#include "framework/simple_association_mi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "framework/factories.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::broker::ObjectPath;
using orv::broker::RegistrationSection;
using orv::broker::Value;
using orv::test::Answer;
using orv::test::objectPath;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kSchema[] = R"(
class T_Hub { [Key] string Name; [Key] uint32 Slot; string Note; };
class T_Leaf { [Key] string Id; uint32 Size; string Note; };
class T_SmallLeaf : T_Leaf { };
class T_Numbered { [Key] uint32 Number; string Note; };
class T_Unserved { [Key] string Id; };
class T_Failing { [Key] string Id; };
class T_Single { [Key] string Id; string Note; };
[Association] class T_Link { [Key] T_Hub REF Hub; [Key] T_Leaf REF Leaf; string Label; };
[Association] class T_LooseLink { T_Hub REF Hub; T_Leaf REF Leaf; };
)";

std::shared_ptr<const orv::broker::ClassRepository> testSchema() {
  auto classes = std::make_shared<orv::broker::ClassRepository>();
  orv::broker::MofReader(*classes).readText(kSchema, "test.mof");
  return classes;
}

/// What the objects' provider has, and what it was asked.
struct Objects {
  std::vector<ObjectPath> paths;
  std::vector<std::string> enumerated;  ///< class names, one entry a call
  int fetched = 0;                      ///< calls of getInstance
};
Objects objects;

/// Serves the objects at the far ends.
class ObjectProvider : public CmpiInstanceMI {
 public:
  ObjectProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  CmpiStatus enumInstances(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                           const char**) override {
    const std::string asked = path.getClassName().charPtr();
    objects.enumerated.push_back(asked);
    if (asked == "T_Failing") return CMPI_RC_ERR_FAILED;
    if (asked == "T_Single") return CMPI_RC_ERR_NOT_SUPPORTED;
    for (const ObjectPath& object : objects.paths) {
      if (object.className != asked) continue;
      CmpiObjectPath own(path.getNameSpace(), object.className.c_str());
      for (const auto& key : object.keys) {
        if (key.value.type == CMPI_string) {
          own.setKey(key.name.c_str(), key.value.text().c_str());
        } else {
          own.setKey(key.name.c_str(), static_cast<CMPIUint32>(key.value.number()));
        }
      }
      CmpiInstance instance(own);
      instance.setProperty("Note", "found");
      if (asked == "T_Leaf") instance.setProperty("Size", CMPIUint32{5});
      result.returnData(instance);
    }
    result.returnDone();
    return CMPI_RC_OK;
  }
  CmpiStatus getInstance(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                         const char**) override {
    ++objects.fetched;
    const std::string id = CmpiString(path.getKey("Id")).charPtr();
    if (id == "gone") return CMPI_RC_ERR_NOT_FOUND;
    if (id == "failing") throw CmpiStatus(CMPI_RC_ERR_ACCESS_DENIED);
    if (id == "without an instance") return CMPI_RC_OK;
    CmpiInstance instance(path);
    instance.setProperty("Id", id == "another" ? "one" : id.c_str());
    instance.setProperty("Note", "found");
    result.returnData(instance);
    result.returnDone();
    return CMPI_RC_OK;
  }
};

/// Association provider that answers as the test says.
class LinkProvider : public OMC::SimpleAssociationMI {
 public:
  using Body = std::function<CmpiStatus(CmpiResult&)>;

  LinkProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), OMC::SimpleAssociationMI(mbp, context) {}

  Body body;
  std::vector<std::string>
      filters;                    ///< of the last call: assocClass, resultClass, role, resultRole
  bool inside = false;            ///< doReferences is running
  CmpiInstanceMI* own = nullptr;  ///< what instancesOf answers for leaves

 private:
  CmpiStatus doReferences(const CmpiContext&, CmpiResult& result, const CmpiObjectPath&,
                          const char* assocClass, const char* resultClass, const char* role,
                          const char* resultRole) override {
    filters.clear();
    for (const char* filter : {assocClass, resultClass, role, resultRole}) {
      filters.emplace_back(filter == nullptr ? "(null)" : filter);
    }
    inside = true;
    const CmpiStatus status = body(result);
    inside = false;
    return status;
  }
  CmpiInstanceMI* instancesOf(const CmpiObjectPath& path) override {
    return path.getClassName().equals("T_Leaf") ? own : nullptr;
  }
};

}  // namespace

ORV_PROVIDER_BASE(ObjectProvider);
ORV_INSTANCE_FACTORY(ObjectProvider, ::ObjectProvider)

namespace {

RegistrationSection section(const std::string& className) {
  RegistrationSection section;
  section.className = className;
  section.provider = "ObjectProvider";
  section.location = "test";
  section.instance = true;
  section.namespaces = {"root/cimv2"};
  return section;
}

class SimpleAssociation : public testing::Test {
 protected:
  SimpleAssociation()
      : scope_(testSchema(),
               {{"ObjectProvider_Create_InstanceMI",
                 reinterpret_cast<void*>(&ObjectProvider_Create_InstanceMI)}},
               {section("T_Leaf"), section("T_Numbered"), section("T_Failing"), section("T_Single"),
                section("T_Hub")}),
        provider_(scope_.make<LinkProvider>()) {
    objects = Objects();
    provider_->body = [](CmpiResult& result) -> CmpiStatus {
      result.returnDone();
      return CMPI_RC_OK;
    };
  }

  static ObjectPath hub(const std::string& name, std::uint64_t slot) {
    ObjectPath path = objectPath("T_Hub", {{"Name", name}});
    path.keys.push_back({"Slot", Value::ofUnsigned(CMPI_uint32, slot)});
    return path;
  }
  static ObjectPath leaf(const std::string& id) { return objectPath("T_Leaf", {{"Id", id}}); }

  CmpiInstance link(const ObjectPath& hubEnd, const ObjectPath& leafEnd,
                    const char* className = "T_Link") {
    CmpiInstance instance(scope_.path(objectPath(className)));
    instance.setProperty("Hub", scope_.path(hubEnd));
    instance.setProperty("Leaf", scope_.path(leafEnd));
    if (std::string(className) == "T_Link") instance.setProperty("Label", "a link");
    return instance;
  }
  /// doReferences returns a link from the hub to each of the leaves, and is done.
  void linkHubTo(const std::vector<ObjectPath>& leaves) {
    provider_->body = [this, leaves](CmpiResult& result) -> CmpiStatus {
      for (const ObjectPath& end : leaves) result.returnData(link(hub("h", 3), end));
      result.returnDone();
      return CMPI_RC_OK;
    };
  }

  Answer references(const ObjectPath& source, const char** properties = nullptr) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->references(context, result, scope_.path(source), "T_Link", "Hub",
                                   properties);
    });
  }
  Answer referenceNames(const ObjectPath& source) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->referenceNames(context, result, scope_.path(source), "T_Link", "Hub");
    });
  }
  Answer associators(const ObjectPath& source, const char** properties = nullptr) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->associators(context, result, scope_.path(source), "T_Link", "T_Leaf", "Hub",
                                    "Leaf", properties);
    });
  }
  Answer associatorNames(const ObjectPath& source) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->associatorNames(context, result, scope_.path(source), "T_Link", "T_Leaf",
                                        "Hub", "Leaf");
    });
  }
  /// What associators throws or answers.
  CMPIrc statusOf(const ObjectPath& source) {
    try {
      return associators(source).rc;
    } catch (const CmpiStatus& status) {
      return status.rc();
    }
  }
  std::vector<Answer> allFour(const ObjectPath& source) {
    return {references(source), referenceNames(source), associators(source),
            associatorNames(source)};
  }

  orv::test::ProviderScope scope_;
  std::unique_ptr<LinkProvider> provider_;
};

TEST_F(SimpleAssociation, ReferencesNameTheAssociationClassAndTheRole) {
  references(hub("h", 3));
  EXPECT_THAT(provider_->filters, ElementsAre("T_Link", "(null)", "Hub", "(null)"));
  referenceNames(hub("h", 3));
  EXPECT_THAT(provider_->filters, ElementsAre("T_Link", "(null)", "Hub", "(null)"));
}

TEST_F(SimpleAssociation, AssociatorsPassAllFourFilters) {
  associators(hub("h", 3));
  EXPECT_THAT(provider_->filters, ElementsAre("T_Link", "T_Leaf", "Hub", "Leaf"));
  associatorNames(hub("h", 3));
  EXPECT_THAT(provider_->filters, ElementsAre("T_Link", "T_Leaf", "Hub", "Leaf"));
}

TEST_F(SimpleAssociation, DoneIsForwardedExactlyAsTheHookCallsIt) {
  for (const Answer& answer : allFour(hub("h", 3))) EXPECT_EQ(answer.doneCount, 1);
  provider_->body = [](CmpiResult&) -> CmpiStatus { return CMPI_RC_OK; };
  for (const Answer& answer : allFour(hub("h", 3))) EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(SimpleAssociation, StatusOfTheHookIsTheAnswer) {
  provider_->body = [](CmpiResult&) {
    return CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER, "not valid");
  };
  for (const Answer& answer : allFour(hub("h", 3))) {
    EXPECT_EQ(answer.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(answer.message, "not valid");
    EXPECT_EQ(answer.doneCount, 0);
  }
}

TEST_F(SimpleAssociation, ExceptionsOfTheHookPass) {
  provider_->body = [](CmpiResult&) -> CmpiStatus { throw std::runtime_error("a defect"); };
  EXPECT_THROW(references(hub("h", 3)), std::runtime_error);
  EXPECT_THROW(referenceNames(hub("h", 3)), std::runtime_error);
  EXPECT_THROW(associators(hub("h", 3)), std::runtime_error);
  EXPECT_THROW(associatorNames(hub("h", 3)), std::runtime_error);
}

TEST_F(SimpleAssociation, ReferencesAreTheInstances) {
  linkHubTo({leaf("a"), leaf("b")});
  const Answer answer = references(hub("h", 3));
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(*answer.instances[1].property("Leaf"), Value::ofReference(leaf("b")));
  EXPECT_EQ(*answer.instances[1].property("Label"), Value::ofString("a link"));
  EXPECT_THAT(answer.paths, IsEmpty());
}

TEST_F(SimpleAssociation, PropertyListIsAppliedToReferences) {
  linkHubTo({leaf("a")});
  const char* properties[] = {"hub", nullptr};
  const Answer answer = references(hub("h", 3), properties);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_NE(answer.instances[0].property("Hub"), nullptr);
  EXPECT_EQ(answer.instances[0].property("Label"), nullptr);
}

TEST_F(SimpleAssociation, ReferenceNamesAreTheInstancesPaths) {
  linkHubTo({leaf("a")});
  const Answer answer = referenceNames(hub("h", 3));
  ASSERT_EQ(answer.paths.size(), 1u);
  EXPECT_EQ(answer.paths[0].className, "T_Link");
  EXPECT_EQ(answer.paths[0].nameSpace, "root/cimv2");
  EXPECT_EQ(answer.paths[0].keys.size(), 2u);
  EXPECT_EQ(*answer.paths[0].key("Leaf"), Value::ofReference(leaf("a")));
  EXPECT_THAT(answer.instances, IsEmpty());
}

TEST_F(SimpleAssociation, ReferencesThatTheClassDoesNotDeclareAsKeysAreAddedToTheName) {
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    result.returnData(link(hub("h", 3), leaf("a"), "T_LooseLink"));
    return CMPI_RC_OK;
  };
  const Answer answer = referenceNames(hub("h", 3));
  ASSERT_EQ(answer.paths.size(), 1u);
  EXPECT_EQ(answer.paths[0].keys.size(), 2u);
  ASSERT_NE(answer.paths[0].key("Leaf"), nullptr);
  EXPECT_EQ(*answer.paths[0].key("Leaf"), Value::ofReference(leaf("a")));
}

TEST_F(SimpleAssociation, AssociatorNamesAreTheOtherEnds) {
  linkHubTo({leaf("a"), leaf("b")});
  const Answer answer = associatorNames(hub("h", 3));
  EXPECT_THAT(answer.paths, ElementsAre(leaf("a"), leaf("b")));
  EXPECT_THAT(answer.instances, IsEmpty());
}

TEST_F(SimpleAssociation, OtherEndOfTheSecondReferenceIsTheFirst) {
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    result.returnData(link(hub("h", 3), leaf("a")));
    return CMPI_RC_OK;
  };
  const Answer answer = associatorNames(leaf("a"));
  ASSERT_EQ(answer.paths.size(), 1u);
  EXPECT_EQ(answer.paths[0].className, "T_Hub");
}

TEST_F(SimpleAssociation, SourceIsRecognisedHoweverItIsWritten) {
  linkHubTo({leaf("a")});
  ObjectPath withHost = hub("h", 3);
  withHost.host = "elsewhere";
  ObjectPath textForNumber = objectPath("T_Hub", {{"Name", "h"}, {"Slot", "3"}});
  ObjectPath otherOrderAndCase = objectPath("t_hub");
  otherOrderAndCase.keys = {{"SLOT", Value::ofUnsigned(CMPI_uint64, 3)},
                            {"name", Value::ofString("h")}};
  for (const ObjectPath& source : {withHost, textForNumber, otherOrderAndCase}) {
    EXPECT_THAT(associatorNames(source).paths, ElementsAre(leaf("a"))) << source;
  }
}

TEST_F(SimpleAssociation, SourceThatNoReferenceEqualsIsTheOneOfItsClass) {
  linkHubTo({leaf("a")});
  EXPECT_THAT(associatorNames(objectPath("T_HUB", {{"Name", "h"}})).paths, ElementsAre(leaf("a")));
}

TEST_F(SimpleAssociation, BetweenTwoObjectsOfOneClassTheOtherIsTaken) {
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    result.returnData(link(leaf("a"), leaf("b")));
    result.returnData(link(leaf("c"), leaf("a")));
    return CMPI_RC_OK;
  };
  EXPECT_THAT(associatorNames(leaf("a")).paths, ElementsAre(leaf("b"), leaf("c")));
}

TEST_F(SimpleAssociation, ObjectAssociatedWithItselfIsItsOwnOtherEnd) {
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    result.returnData(link(leaf("a"), leaf("a")));
    return CMPI_RC_OK;
  };
  EXPECT_THAT(associatorNames(leaf("a")).paths, ElementsAre(leaf("a")));
}

TEST_F(SimpleAssociation, NullReferenceIsNoEnd) {
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    CmpiInstance instance(scope_.path(objectPath("T_Link")));
    instance.setProperty("Hub", scope_.path(hub("h", 3)));
    result.returnData(instance);
    result.returnDone();
    return CMPI_RC_OK;
  };
  const Answer names = associatorNames(hub("h", 3));
  EXPECT_EQ(names.rc, CMPI_RC_OK);
  EXPECT_THAT(names.paths, IsEmpty());
  EXPECT_EQ(names.doneCount, 1);
  EXPECT_THAT(associators(hub("h", 3)).instances, IsEmpty());
}

TEST_F(SimpleAssociation, InstanceThatIsReusedByTheHookIsReadAtOnce) {
  objects.paths = {leaf("a"), leaf("b")};
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    CmpiInstance instance = link(hub("h", 3), leaf("a"));
    result.returnData(instance);
    instance.setProperty("Leaf", scope_.path(leaf("b")));
    result.returnData(instance);
    return CMPI_RC_OK;
  };
  EXPECT_THAT(associatorNames(hub("h", 3)).paths, ElementsAre(leaf("a"), leaf("b")));
  const Answer answer = associators(hub("h", 3));
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(answer.instances[0].path, leaf("a"));
  EXPECT_EQ(answer.instances[1].path, leaf("b"));
}

TEST_F(SimpleAssociation, AssociatorsAreTheObjectsThemselves) {
  objects.paths = {leaf("b"), leaf("a"), leaf("c")};
  linkHubTo({leaf("a"), leaf("b")});
  const Answer answer = associators(hub("h", 3));
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(answer.instances[0].path, leaf("a"));
  EXPECT_EQ(answer.instances[1].path, leaf("b"));
  EXPECT_EQ(*answer.instances[0].property("Note"), Value::ofString("found"));
  EXPECT_EQ(answer.doneCount, 1);
  EXPECT_THAT(answer.paths, IsEmpty());
}

TEST_F(SimpleAssociation, EachClassIsEnumeratedOnceAndNothingIsFetchedByName) {
  objects.paths = {leaf("a"), leaf("b"), leaf("c")};
  linkHubTo({leaf("a"), leaf("b"), leaf("c"), leaf("gone")});
  EXPECT_EQ(associators(hub("h", 3)).instances.size(), 3u);
  EXPECT_THAT(objects.enumerated, ElementsAre("T_Leaf"));
  EXPECT_EQ(objects.fetched, 0);
}

TEST_F(SimpleAssociation, ObjectsAreFetchedAfterTheHookHasReturned) {
  objects.paths = {leaf("a")};
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    result.returnData(link(hub("h", 3), leaf("a")));
    EXPECT_THAT(objects.enumerated, IsEmpty());
    result.returnDone();
    EXPECT_THAT(objects.enumerated, IsEmpty());
    return CMPI_RC_OK;
  };
  EXPECT_EQ(associators(hub("h", 3)).instances.size(), 1u);
}

TEST_F(SimpleAssociation, ObjectsThatAreGoneAreLeftOut) {
  objects.paths = {leaf("b")};
  linkHubTo({leaf("a"), leaf("b")});
  const Answer answer = associators(hub("h", 3));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].path, leaf("b"));
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(SimpleAssociation, ObjectsThatAreNowhereAreLeftOut) {
  objects.paths = {leaf("a")};
  linkHubTo({objectPath("T_Unserved", {{"Id", "x"}}), objectPath("T_UnknownClass", {{"Id", "x"}}),
             objectPath("T_Leaf", {{"Id", "a"}}, "root/unknown"), leaf("a")});
  const Answer answer = associators(hub("h", 3));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].path, leaf("a"));
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(SimpleAssociation, FailureToLookForAnObjectIsTheAnswer) {
  objects.paths = {leaf("a")};
  linkHubTo({leaf("a"), objectPath("T_Failing", {{"Id", "x"}})});
  EXPECT_EQ(statusOf(hub("h", 3)), CMPI_RC_ERR_FAILED);
  linkHubTo({objectPath("T_Single", {{"Id", "a"}})});
  EXPECT_EQ(statusOf(hub("h", 3)), CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(objects.fetched, 0) << "never one by one";
}

TEST_F(SimpleAssociation, ObjectsOfAClassThatIsServedHereAreAskedOfTheProviderItself) {
  ObjectProvider own(scope_.broker(), scope_.context());
  provider_->own = &own;
  linkHubTo({leaf("a"), leaf("gone"), leaf("without an instance"), leaf("b")});
  const char* properties[] = {"Id", nullptr};
  const Answer answer = associators(hub("h", 3), properties);
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(answer.instances[0].path, leaf("a"));
  EXPECT_EQ(answer.instances[1].path, leaf("b"));
  EXPECT_EQ(answer.instances[0].property("Note"), nullptr) << "the property list is applied";
  EXPECT_EQ(answer.doneCount, 1);
  EXPECT_EQ(objects.fetched, 4);
  EXPECT_THAT(objects.enumerated, IsEmpty());
}

TEST_F(SimpleAssociation, AnotherObjectThanTheOneAskedForIsNotIt) {
  ObjectProvider own(scope_.broker(), scope_.context());
  provider_->own = &own;
  linkHubTo({leaf("another")});
  EXPECT_THAT(associators(hub("h", 3)).instances, IsEmpty());
}

TEST_F(SimpleAssociation, FailureOfTheProviderItselfIsTheAnswer) {
  ObjectProvider own(scope_.broker(), scope_.context());
  provider_->own = &own;
  linkHubTo({leaf("a"), leaf("failing")});
  EXPECT_EQ(statusOf(hub("h", 3)), CMPI_RC_ERR_ACCESS_DENIED);
}

/// A path that gives a key twice, for example: an object manager crashes when its keys are read.
TEST_F(SimpleAssociation, KeysOfASourceThatIsNotServedAreNotRead) {
  orv::broker::Fault fault;
  fault.slot = "path.getKeyAt";
  fault.rc = CMPI_RC_ERR_FAILED;
  scope_.embeddedBroker().inject(fault);
  for (const Answer& answer : allFour(hub("h", 3))) EXPECT_EQ(answer.rc, CMPI_RC_OK);
}

/// While it lives the broker knows but the key "Name" of any class.
class PathsOfOneKey {
 public:
  explicit PathsOfOneKey(const CmpiInstance& any) : table_(any.getEnc()->ft) {
    getObjectPath = table_->getObjectPath;
    table_->getObjectPath = cutPath;
  }
  ~PathsOfOneKey() { table_->getObjectPath = getObjectPath; }
  PathsOfOneKey(const PathsOfOneKey&) = delete;
  PathsOfOneKey& operator=(const PathsOfOneKey&) = delete;

 private:
  static inline decltype(CMPIInstanceFT::getObjectPath) getObjectPath;

  static CMPIObjectPath* cutPath(const CMPIInstance* instance, CMPIStatus* status) {
    const CmpiObjectPath full(getObjectPath(instance, status));
    CmpiObjectPath cut(full.getNameSpace(), full.getClassName().charPtr());
    cut.setKey("Name", full.getKey("Name"));
    return cut.getEnc();
  }

  CMPIInstanceFT* table_;
};

TEST_F(SimpleAssociation, ObjectWhosePathLacksKeysIsFoundByItsProperties) {
  const PathsOfOneKey paths(link(hub("h", 3), leaf("a")));
  objects.paths = {hub("h", 4), hub("i", 3), hub("h", 3)};
  provider_->body = [this](CmpiResult& result) -> CmpiStatus {
    result.returnData(link(hub("h", 3), leaf("a")));
    return CMPI_RC_OK;
  };
  const Answer answer = associators(leaf("a"));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(*answer.instances[0].property("Name"), Value::ofString("h"));
  EXPECT_EQ(*answer.instances[0].property("Slot"), Value::ofUnsigned(CMPI_uint32, 3));
}

TEST_F(SimpleAssociation, LeadingSlashOfANamespaceDoesNotHideTheObject) {
  objects.paths = {leaf("a")};
  linkHubTo({objectPath("T_Leaf", {{"Id", "a"}}, "/root/cimv2")});
  const Answer answer = associators(hub("h", 3));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].path, leaf("a"));
}

TEST_F(SimpleAssociation, NumericKeyGivenAsTextFindsItsObject) {
  ObjectPath numbered = objectPath("T_Numbered");
  numbered.keys.push_back({"Number", Value::ofUnsigned(CMPI_uint32, 7)});
  objects.paths = {numbered};
  linkHubTo({objectPath("T_Numbered", {{"Number", "7"}})});
  EXPECT_EQ(associators(hub("h", 3)).instances.size(), 1u);
}

TEST_F(SimpleAssociation, PropertyListIsAppliedToAssociatorsThatIgnoreIt) {
  objects.paths = {leaf("a")};
  linkHubTo({leaf("a")});
  const char* properties[] = {"size", nullptr};
  const Answer answer = associators(hub("h", 3), properties);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(*answer.instances[0].property("Size"), Value::ofUnsigned(CMPI_uint32, 5));
  EXPECT_EQ(answer.instances[0].property("Note"), nullptr);
  EXPECT_EQ(answer.instances[0].path, leaf("a"));
}

}  // namespace
