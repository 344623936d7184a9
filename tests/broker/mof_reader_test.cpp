#include "broker/mof_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace orv::broker {
namespace {

using testing::ElementsAre;

ClassRepository read(const std::string& text) {
  ClassRepository classes;
  MofReader(classes).readText(text, "t.mof");
  return classes;
}

std::string errorOf(const std::string& text, MofLimits limits = {}) {
  ClassRepository classes;
  try {
    MofReader(classes, limits).readText(text, "t.mof");
  } catch (const MofError& e) {
    return e.what();
  }
  return "no error";
}

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "mofXXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string file(const std::string& name) const { return path_ + "/" + name; }
  void write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories(std::filesystem::path(file(name)).parent_path());
    std::ofstream(file(name)) << text;
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

TEST(MofReader, ReadsAClassWithItsProperties) {
  const ClassRepository classes = read(R"(
    // A port.
    Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, Translatable);
    [Description("A " /* joined */ "port")]
    class T_Port {
      [Key, Description("name")] string Name;
      uint16 Speeds[];
      uint64 Bytes = 5;
      boolean Up = True;
      datetime Since;
      sint8 Offsets[3] = {-1, 0x10, 017, 101b};
      real32 Load = -1.5e3;
      string Text = "a\tb\"c\x41" "d";
      char16 Letter = 'x';
      string Nothing = NULL;
      uint8 Empty[] = {};
    };)");
  const ClassDefinition* port = classes.find("T_Port");
  ASSERT_NE(port, nullptr);
  ASSERT_EQ(port->qualifiers.size(), 1u);
  EXPECT_THAT(port->qualifiers[0].values, ElementsAre("A port"));
  EXPECT_TRUE(port->property("Name")->key);
  EXPECT_EQ(port->property("Name")->type, CMPI_string);
  EXPECT_EQ(port->property("Speeds")->type, CMPI_uint16A);
  EXPECT_THAT(*port->property("Bytes")->defaultValue, ElementsAre("5"));
  EXPECT_THAT(*port->property("Up")->defaultValue, ElementsAre("true"));
  EXPECT_EQ(port->property("Since")->type, CMPI_dateTime);
  EXPECT_THAT(*port->property("Offsets")->defaultValue, ElementsAre("-1", "16", "15", "5"));
  EXPECT_THAT(*port->property("Load")->defaultValue, ElementsAre("-1.5e3"));
  EXPECT_THAT(*port->property("Text")->defaultValue, ElementsAre("a\tb\"cAd"));
  EXPECT_THAT(*port->property("Letter")->defaultValue, ElementsAre("120"));
  EXPECT_FALSE(port->property("Nothing")->defaultValue.has_value());
  EXPECT_THAT(*port->property("Empty")->defaultValue, ElementsAre());
}

struct TypeRow {
  const char* name;
  CMPIType type;
};

class MofTypes : public testing::TestWithParam<TypeRow> {};

TEST_P(MofTypes, HaveTheirCode) {
  const std::string name = GetParam().name;
  const ClassRepository classes = read("class T { " + name + " One; " + name + " Many[]; };");
  EXPECT_EQ(classes.find("T")->property("One")->type, GetParam().type);
  EXPECT_EQ(classes.find("T")->property("Many")->type, GetParam().type | CMPI_ARRAY);
}

INSTANTIATE_TEST_SUITE_P(
    All, MofTypes,
    testing::Values(TypeRow{"boolean", CMPI_boolean}, TypeRow{"string", CMPI_string},
                    TypeRow{"datetime", CMPI_dateTime}, TypeRow{"char16", CMPI_char16},
                    TypeRow{"uint8", CMPI_uint8}, TypeRow{"uint16", CMPI_uint16},
                    TypeRow{"uint32", CMPI_uint32}, TypeRow{"uint64", CMPI_uint64},
                    TypeRow{"sint8", CMPI_sint8}, TypeRow{"sint16", CMPI_sint16},
                    TypeRow{"sint32", CMPI_sint32}, TypeRow{"sint64", CMPI_sint64},
                    TypeRow{"real32", CMPI_real32}, TypeRow{"real64", CMPI_real64},
                    TypeRow{"UINT16", CMPI_uint16}));

TEST(MofReader, ReadsAssociationsAndReferences) {
  const ClassRepository classes = read(R"(
    class T_A { [Key] string Id; };
    [Association, Abstract] class T_Link {
      [Key] T_A REF From;
      [key] T_Unknown ref To;
    };
    class T_SubLink : T_Link { [Override("From")] T_A REF From; };)");
  const ClassDefinition* link = classes.find("T_SubLink");
  EXPECT_TRUE(link->association);
  EXPECT_FALSE(link->abstract);
  EXPECT_TRUE(classes.find("T_Link")->abstract);
  EXPECT_EQ(link->superclass, "T_Link");
  EXPECT_EQ(link->property("From")->type, CMPI_ref);
  EXPECT_EQ(link->property("From")->referenceClass, "T_A");
  EXPECT_TRUE(link->property("From")->key);
  EXPECT_EQ(link->property("To")->referenceClass, "T_Unknown");
}

TEST(MofReader, ReadsIndicationsAndEmbeddedProperties) {
  const ClassRepository classes = read(R"(
    [Indication (true)] class T_Event {
      [EmbeddedObject] string Source;
      [EmbeddedInstance("T_A")] string Old;
      [Indication(false), EmbeddedObject(false)] string Plain;
    };)");
  const ClassDefinition* event = classes.find("T_Event");
  EXPECT_TRUE(event->indication);
  EXPECT_TRUE(event->property("Source")->embeddedObject);
  EXPECT_EQ(event->property("Old")->embeddedClass, "T_A");
  EXPECT_FALSE(event->property("Plain")->embeddedObject);
}

TEST(MofReader, KeepsArrayQualifiersAndSkipsFlavors) {
  const ClassRepository classes = read(R"(
    Qualifier ValueMap : string[], Scope(property, method, parameter);
    Qualifier MaxLen : uint32 = null, Scope(property), Flavor(DisableOverride, ToSubclass);
    class T_A {
      [ValueMap{"1", "2"} : Translatable ToSubclass, MaxLen(256)] string Text;
    };)");
  const auto& qualifiers = classes.find("T_A")->property("Text")->qualifiers;
  ASSERT_EQ(qualifiers.size(), 2u);
  EXPECT_EQ(qualifiers[0].name, "ValueMap");
  EXPECT_EQ(qualifiers[0].type, CMPI_stringA);
  EXPECT_THAT(qualifiers[0].values, ElementsAre("1", "2"));
  EXPECT_THAT(qualifiers[1].values, ElementsAre("256"));
}

TEST(MofReader, ChecksAndForgetsMethods) {
  const ClassRepository classes = read(R"(
    Qualifier IN : boolean = true, Scope(parameter);
    class T_A {
      uint32 Reset();
      uint32 Set([IN] uint16 State, [IN(false)] T_A REF Job, datetime Limits[]);
      string After;
    };)");
  ASSERT_EQ(classes.find("T_A")->properties.size(), 1u);
  EXPECT_EQ(classes.find("T_A")->properties[0].name, "After");
}

TEST(MofReader, AcceptsPragmasItHasNoUseFor) {
  EXPECT_EQ(errorOf("#pragma locale (\"en_US\")\n#pragma namespace(\"root/cimv2\")\n"
                    "#pragma nonsense(\"x\")\nclass T {};"),
            "no error");
}

TEST(MofReader, KeepsTheClassesBeforeAnError) {
  ClassRepository classes;
  EXPECT_THROW(MofReader(classes).readText("class A {};\nclass B : C {};", "t"), MofError);
  EXPECT_NE(classes.find("A"), nullptr);
  EXPECT_EQ(classes.find("B"), nullptr);
}

struct BadMof {
  const char* text;
  const char* error;
};

class MofErrors : public testing::TestWithParam<BadMof> {};

TEST_P(MofErrors, NameFileAndLine) {
  EXPECT_EQ(errorOf(GetParam().text), std::string("t.mof:") + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    All, MofErrors,
    testing::Values(
        BadMof{
            "class A : B {};\nclass B {};",
            "1: superclass B of class A is not known; a superclass stands before its subclasses"},
        BadMof{
            "class A : A {};",
            "1: superclass A of class A is not known; a superclass stands before its subclasses"},
        BadMof{"class A {};\n\nclass a {};",
               "3: class a is defined twice, and not with a Version each time"},
        BadMof{"class A {\n string X;\n uint8 x;\n};", "3: property x is defined twice"},
        BadMof{"class A {\n [Colour] string X;\n};", "2: qualifier Colour is not declared"},
        BadMof{"class A { [Key, key] string X; };", "1: qualifier key is given twice"},
        BadMof{"class A { [Key{true}] string X; };", "1: qualifier takes one value, not a list"},
        BadMof{"Qualifier V : string[];\nclass A { [V(\"x\")] string X; };",
               "2: qualifier takes a list of values in { }"},
        BadMof{"class A { [Key(5)] string X; };", "1: expected true or false, not \"5\""},
        BadMof{"class A { [Key] string X[]; };", "1: property X is an array and cannot be a key"},
        BadMof{"class A { [EmbeddedObject] uint8 X; };",
               "1: property X is embedded and must be a string"},
        BadMof{"class A { uint8 X = 256; };", "1: number 256 does not fit its type"},
        BadMof{"class A { uint8 X = -1; };", "1: number -1 does not fit its type"},
        BadMof{"class A { sint8 X = -129; };", "1: number -129 does not fit its type"},
        BadMof{"class A { uint64 X = 18446744073709551616; };", "1: number is out of range"},
        BadMof{"class A { uint8 X = 0x; };", "1: number is not complete"},
        BadMof{"class A { uint8 X = 12z; };", "1: number is not complete"},
        BadMof{"class A { uint8 X = 12b; };", "1: number is not complete"},
        BadMof{"class A { real64 X = 1.; };", "1: number is not complete"},
        BadMof{"class A { uint8 X = \"5\"; };", "1: expected a number, not \"5\""},
        BadMof{"class A { string X = 5; };", "1: expected a string, not \"5\""},
        BadMof{"class A { uint8 X[] = 5; };", "1: expected \"{\", not \"5\""},
        BadMof{"class A { uint8 X = {5}; };", "1: expected a number, not \"{\""},
        BadMof{"class A { float X; };",
               "1: \"float\" is not a type; expected REF after a class name"},
        BadMof{"class A { string X }", "1: expected \";\", not \"}\""},
        BadMof{"class A {\n string X;\n",
               "3: expected a property, a reference, a method or \"}\", not the end of the file"},
        BadMof{"class A {}", "1: expected \";\", not the end of the file"},
        BadMof{"class {};", "1: expected the class's name, not \"{\""},
        BadMof{"\ninstance of A {};",
               "2: expected a class, a qualifier declaration or a pragma, not \"instance\""},
        BadMof{"Qualifier Q : thing;", "1: expected a data type, not \"thing\""},
        BadMof{"Qualifier Q : string, Colour(red);",
               "1: qualifier Q: expected Scope or Flavor, not \"Colour\""},
        BadMof{"Qualifier Q : string;\nQualifier q : uint8;",
               "2: qualifier q is declared twice, with different types"},
        BadMof{"#pragma include(\"absent.mof\")", "1: included file absent.mof cannot be read"},
        BadMof{"#include \"x\"", "1: expected #pragma after \"#\""},
        BadMof{"/* open\n\n", "1: comment is not closed"},
        BadMof{"class A { string X = \"open\n\"; };", "1: string is not closed on its line"},
        BadMof{"class A { string X = \"open", "1: string is not closed"},
        BadMof{"class A { string X = \"\\q\"; };", "1: unknown escape in a string"},
        BadMof{"class A { string X = \"\\x0\"; };", "1: null character in a string"},
        BadMof{"class A { char16 X = ''; };", "1: character literal is empty"},
        BadMof{"class A { char16 X = 'ab'; };", "1: character literal is not closed"},
        BadMof{"class A @ {};", "1: \"@\" is not MOF"}, BadMof{"\x01", "1: byte 1 is not MOF"}));

TEST(MofReader, StopsAtItsLimits) {
  MofLimits limits;
  limits.inheritanceDepth = 2;
  EXPECT_EQ(errorOf("class A {};\nclass B : A {};\nclass C : B {};", limits),
            "t.mof:3: class C has too many ancestors");
  limits = MofLimits();
  limits.fileBytes = 10;
  EXPECT_EQ(errorOf("class LongName {};", limits), "t.mof: file is larger than 10 bytes");
  limits = MofLimits();
  limits.repositoryBytes = 100;
  EXPECT_EQ(errorOf("class A {};\nclass B {};", limits), "t.mof:2: schema is too large");
  EXPECT_EQ(errorOf("class A { string X = \"" + std::string(70000, 'x') + "\"; };"),
            "t.mof:1: string is too long");
}

TEST(MofReader, ReadsIncludesRelativeToTheirFileAndEachFileOnce) {
  const TemporaryDirectory dir;
  dir.write("main.mof",
            "#pragma include (\"sub/b.mof\")\n#pragma include (\"sub/a.mof\")\nclass C : B {};");
  dir.write("sub/b.mof", "#pragma include(\"a.mof\")\nclass B : A {};");
  dir.write("sub/a.mof", "#pragma include(\"../main.mof\")\nclass A {};");
  ClassRepository classes;
  MofReader(classes).readFile(dir.file("main.mof"));
  EXPECT_TRUE(classes.isA("C", "A"));
}

TEST(MofReader, ADeclarationOfAHigherVersionCounts) {
  ClassRepository classes;
  MofReader(classes).readText(
      "Qualifier Version : string = null, Scope(class);\n"
      "class A { string X; };\n"
      "[Version(\"2.0\")] class B : A {};\n"
      "[Version(\"1.0\")] class B : Unknown {};\n"
      "[Version(\"1.0\")] class C {};\n"
      "[Version(\"1.1\")] class C : B {};\n"
      "class D : C {};\n",
      "t.mof");
  EXPECT_TRUE(classes.isA("D", "A"));
  EXPECT_EQ(classes.all().size(), 4u);
}

TEST(MofReader, TakesNoMoreMemoryThanAFileHolds) {
  const TemporaryDirectory dir;
  dir.write("small.mof", "class A { string X; };");
  MofLimits limits;
  limits.fileBytes = std::size_t{1} << 60;  // nobody has that much
  ClassRepository classes;
  EXPECT_NO_THROW(MofReader(classes, limits).readFile(dir.file("small.mof")));
  EXPECT_NE(classes.find("A"), nullptr);
}

TEST(MofReader, RefusesAFileAboveItsLimit) {
  const TemporaryDirectory dir;
  dir.write("big.mof", std::string(2000, ' '));
  MofLimits limits;
  limits.fileBytes = 1999;
  ClassRepository classes;
  EXPECT_THROW(MofReader(classes, limits).readFile(dir.file("big.mof")), MofError);
  limits.fileBytes = 2000;
  EXPECT_NO_THROW(MofReader(classes, limits).readFile(dir.file("big.mof")));
}

TEST(MofReader, AnErrorInAnIncludedFileNamesThatFile) {
  const TemporaryDirectory dir;
  dir.write("main.mof", "#pragma include (\"bad.mof\")");
  dir.write("bad.mof", "\nnonsense");
  ClassRepository classes;
  try {
    MofReader(classes).readFile(dir.file("main.mof"));
    FAIL() << "no error";
  } catch (const MofError& e) {
    EXPECT_THAT(e.what(), testing::StartsWith(dir.file("bad.mof") + ":2: "));
  }
}

TEST(MofReader, RefusesIncludesThatAreNestedTooDeeply) {
  const TemporaryDirectory dir;
  for (int i = 0; i < 20; ++i) {
    dir.write(std::to_string(i) + ".mof",
              "#pragma include(\"" + std::to_string(i + 1) + ".mof\")\n");
  }
  ClassRepository classes;
  EXPECT_THROW(MofReader(classes).readFile(dir.file("0.mof")), MofError);
}

TEST(MofReader, ADirectoryIsReadInOrderOfNamesBaseFirst) {
  const TemporaryDirectory dir;
  dir.write("1.mof", "class B : A {};");
  dir.write("2.mof", "class C : B {};");
  dir.write("base/z.mof", "class A {};");
  dir.write("notes.txt", "nonsense");
  const ClassRepository classes = loadSchema(dir.path());
  EXPECT_TRUE(classes.isA("C", "A"));
}

TEST(MofReader, ADirectoryWithoutMofIsAnError) {
  const TemporaryDirectory dir;
  EXPECT_THROW(loadSchema(dir.path()), MofError);
  EXPECT_THROW(loadSchema(dir.file("absent")), MofError);
}

TEST(MofReader, QualifierDeclarationsHoldForEveryFileOfAReader) {
  ClassRepository classes;
  MofReader reader(classes);
  reader.readText("Qualifier Units : string;", "a");
  reader.readText("class A { [Units(\"Bytes\")] uint8 X; };", "b");
  EXPECT_NE(classes.find("A"), nullptr);
}

}  // namespace
}  // namespace orv::broker
