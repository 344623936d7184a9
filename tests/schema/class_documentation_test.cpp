#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "broker/registration.h"
#include "tests/schema/schema_files.h"

// docs/classes.md against schema/orvprovider.mof and schema/orvprovider.reg.
namespace orv::broker {
namespace {

struct Row {
  std::string property;
  std::string type;
  bool key = false;
  std::string unit;
  std::string source;
};

struct Section {
  std::string superclass;
  std::vector<Row> rows;
};

using Document = std::map<std::string, Section>;

std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> result;
  std::size_t begin = 1;
  for (std::size_t end; (end = line.find('|', begin)) != std::string::npos; begin = end + 1) {
    const std::string cell = line.substr(begin, end - begin);
    const std::size_t first = cell.find_first_not_of(' ');
    result.push_back(first == std::string::npos
                         ? ""
                         : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
  }
  return result;
}

Document readDocument() {
  Document document;
  Section* section = nullptr;
  std::ifstream in(std::string(ORV_SOURCE_DIR) + "/docs/classes.md");
  EXPECT_TRUE(in.good());
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("### ", 0) == 0) {
      section = &document[line.substr(4)];
    } else if (line.rfind("Derives from `", 0) == 0 && section != nullptr) {
      section->superclass = line.substr(14, line.find('`', 14) - 14);
    } else if (line.rfind("| ", 0) == 0 && line.rfind("| Property |", 0) != 0) {
      const std::vector<std::string> c = cells(line);
      EXPECT_EQ(c.size(), 5u) << line;
      if (c.size() == 5 && section != nullptr) {
        section->rows.push_back({c[0], c[1], c[2] == "yes", c[3], c[4]});
      }
    }
  }
  return document;
}

std::string mofTypeName(const PropertyDefinition& property) {
  if (property.type == CMPI_ref) return property.referenceClass + " REF";
  const std::map<CMPIType, std::string> names = {
      {CMPI_boolean, "boolean"}, {CMPI_string, "string"}, {CMPI_dateTime, "datetime"},
      {CMPI_uint8, "uint8"},     {CMPI_uint16, "uint16"}, {CMPI_uint32, "uint32"},
      {CMPI_uint64, "uint64"}};
  const auto name = names.find(static_cast<CMPIType>(property.type & ~CMPI_ARRAY));
  if (name == names.end()) return "other";
  return name->second + ((property.type & CMPI_ARRAY) != 0 ? "[]" : "");
}

std::string unitOf(const PropertyDefinition& property) {
  for (const QualifierValue& q : property.qualifiers) {
    if (sameName(q.name, "PUnit") && !q.values.empty()) return q.values.front();
  }
  return "";
}

bool lists(const Section& section, const std::string& property) {
  return std::any_of(section.rows.begin(), section.rows.end(),
                     [&](const Row& row) { return row.property == property; });
}

TEST(ClassDocumentation, HasASectionForEveryRegisteredClassAndNoOther) {
  const Document document = readDocument();
  std::vector<std::string> documented;
  for (const auto& [name, section] : document) documented.push_back(name);
  std::vector<std::string> registered;
  for (const RegistrationSection& section :
       readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/orvprovider.reg")) {
    registered.push_back(section.className);
  }
  EXPECT_THAT(documented, testing::UnorderedElementsAreArray(registered));
}

TEST(ClassDocumentation, NamesEachSuperclass) {
  const ClassRepository schema = ourSchema();
  for (const auto& [name, section] : readDocument()) {
    EXPECT_EQ(section.superclass, schema.find(name)->superclass) << name;
  }
}

TEST(ClassDocumentation, TypesKeysAndUnitsAreThoseOfTheSchema) {
  const ClassRepository schema = ourSchema();
  for (const auto& [name, section] : readDocument()) {
    for (const Row& row : section.rows) {
      const PropertyDefinition* property = schema.find(name)->property(row.property);
      ASSERT_NE(property, nullptr) << name << "." << row.property;
      EXPECT_EQ(property->name, row.property) << name;
      EXPECT_EQ(mofTypeName(*property), row.type) << name << "." << row.property;
      EXPECT_EQ(property->key, row.key) << name << "." << row.property;
      EXPECT_EQ(unitOf(*property), row.unit) << name << "." << row.property;
      EXPECT_FALSE(row.source.empty()) << name << "." << row.property;
    }
  }
}

TEST(ClassDocumentation, ListsEveryKeyAndEveryPropertyThatAClassOfOursAdds) {
  const ClassRepository schema = ourSchema();
  for (const auto& [name, section] : readDocument()) {
    for (const PropertyDefinition& property : schema.find(name)->properties) {
      if (property.key || property.originClass.rfind("Orvane_", 0) == 0) {
        EXPECT_TRUE(lists(section, property.name)) << name << "." << property.name;
      }
    }
  }
}

TEST(ClassDocumentation, ListsAPropertyOnce) {
  for (const auto& [name, section] : readDocument()) {
    for (const Row& row : section.rows) {
      EXPECT_EQ(std::count_if(section.rows.begin(), section.rows.end(),
                              [&](const Row& other) { return other.property == row.property; }),
                1)
          << name << "." << row.property;
    }
  }
}

}  // namespace
}  // namespace orv::broker
