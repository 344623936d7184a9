#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/library/registered_sections.h"
#include "tests/support/library_fixture.h"

// Every section of both registrations, on the example host: what is registered answers with status
// 0 and has something to show, and every association leads from each of its ends to the other.
namespace orv::test {
namespace {

using broker::AssociationFilter;
using broker::ObjectPath;
using broker::RegistrationSection;
using Response = broker::TestResponse;

/// What has nothing to show on the example host, and why: by class, or by class and the role that
/// is started from.
const std::map<std::string, const char*> kNothingToShow = {
    {"Orvane_LatchedHealthState", "no element of the example host was ever seen ill"},
    {"Orvane_LatchedHealthAssociation.Antecedent", "there is no latched record to start from"},
    {"Orvane_LatchedHealthAssociation.Dependent", "the element's side is answered empty"},
};

bool hasReason(const std::string& place) { return kNothingToShow.count(place) > 0; }

class Registered : public testing::TestWithParam<RegistrationSection> {
 protected:
  const std::string& className() const { return GetParam().className; }

  /// Paths that a client would start from: what the association's own instances refer to, or, when
  /// it has none, what there is of the class that its reference names.
  std::vector<ObjectPath> startingPoints(const broker::PropertyDefinition& reference) {
    std::vector<ObjectPath> starts;
    const std::string from = GetParam().instance ? className() : reference.referenceClass;
    for (const ObjectPath& path : library_->enumerateInstanceNames("root/cimv2", from).paths) {
      starts.push_back(GetParam().instance ? path.key(reference.name)->reference() : path);
      starts.back().nameSpace = "root/cimv2";  // as a client asks, however the reference spells it
    }
    return starts;
  }

  SimulatedHostFile host_{exampleHost()};
  LoadedLibrary library_ = loadedFor(GetParam());
};

void expectAnswered(const Response& response, std::size_t found, const std::string& place) {
  EXPECT_EQ(response.rc, CMPI_RC_OK) << place << ": " << response.message.value_or("(no text)");
  EXPECT_EQ(found == 0, hasReason(place))
      << place << " gives " << found << "; nothing needs a reason in the table above, "
      << "and a reason wants nothing";
  EXPECT_THAT(response.reports, testing::IsEmpty()) << place;
}

class RegisteredInstances : public Registered {};

TEST_P(RegisteredInstances, AreListedAndFoundByTheirNames) {
  const Response names = library_->enumerateInstanceNames("root/cimv2", className());
  expectAnswered(names, names.paths.size(), className());
  const Response all = library_->enumerateInstances("root/cimv2", className());
  expectAnswered(all, all.instances.size(), className());
  EXPECT_EQ(all.instances.size(), names.paths.size());
  for (const ObjectPath& path : names.paths) {
    const Response one = library_->getInstance(path);
    expectAnswered(one, one.instances.size(), className());
  }
}

// A name with other keys than the class declares is a name that no client can build.
TEST_P(RegisteredInstances, HaveTheKeysThatTheirClassDeclares) {
  const broker::ClassRepository schema = bothSchemas();
  const broker::ClassDefinition* definition = schema.find(className());
  ASSERT_NE(definition, nullptr);
  std::set<std::string> declared;
  for (const broker::PropertyDefinition& property : definition->properties) {
    if (property.key) declared.insert(property.name);
  }
  for (const ObjectPath& path : library_->enumerateInstanceNames("root/cimv2", className()).paths) {
    std::set<std::string> given;
    for (const auto& key : path.keys) given.insert(key.name);
    EXPECT_EQ(given, declared) << path.toText();
  }
}

class RegisteredAssociation : public Registered {};

TEST_P(RegisteredAssociation, LeadsFromEachEndToTheOther) {
  const broker::ClassRepository schema = bothSchemas();
  const broker::ClassDefinition* definition = schema.find(className());
  ASSERT_NE(definition, nullptr);
  int ends = 0;
  for (const broker::PropertyDefinition& reference : definition->properties) {
    if (reference.type != CMPI_ref) continue;
    ++ends;
    const std::string place = className() + "." + reference.name;
    const auto starts = startingPoints(reference);
    EXPECT_TRUE(!starts.empty() || hasReason(place)) << place << ": no object to start from";
    for (const ObjectPath& start : starts) {
      AssociationFilter filter;
      filter.assocClass = className();
      const Response there = library_->associatorNames(start, filter);
      expectAnswered(there, there.paths.size(), place);
      filter = {};
      filter.resultClass = className();
      const Response links = library_->references(start, filter);
      expectAnswered(links, links.instances.size(), place);
    }
  }
  EXPECT_EQ(ends, 2) << className() << " has the references of an association";
}

class RegisteredIndication : public Registered {};

TEST_P(RegisteredIndication, TakesASubscription) {
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM " + className();
  const auto subscribed = library_->subscribe(filter, [](const broker::Instance&) {});
  EXPECT_EQ(subscribed.rc, CMPI_RC_OK) << subscribed.message.value_or("(no text)");
  EXPECT_EQ(library_->unsubscribe(subscribed.id).rc, CMPI_RC_OK);
}

INSTANTIATE_TEST_SUITE_P(Class, RegisteredInstances,
                         testing::ValuesIn(sectionsOfKind(&RegistrationSection::instance)),
                         sectionName);
INSTANTIATE_TEST_SUITE_P(Class, RegisteredAssociation,
                         testing::ValuesIn(sectionsOfKind(&RegistrationSection::association)),
                         sectionName);
INSTANTIATE_TEST_SUITE_P(Class, RegisteredIndication,
                         testing::ValuesIn(sectionsOfKind(&RegistrationSection::indication)),
                         sectionName);

TEST(RegistrationWalk, EachReasonIsOfAClassThatIsRegistered) {
  for (const auto& [place, reason] : kNothingToShow) {
    bool registered = false;
    for (const RegistrationSection& section : registeredSections()) {
      registered |= place.substr(0, place.find('.')) == section.className;
    }
    EXPECT_TRUE(registered) << place;
  }
}

}  // namespace
}  // namespace orv::test
