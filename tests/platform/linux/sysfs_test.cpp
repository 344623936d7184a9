#include "platform/linux/sysfs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(SysfsText, IsReadWithoutTheNewline) {
  SysTree tree;
  tree.file("text", "schedutil\n").file("empty", "");
  EXPECT_THAT(readText(tree.root() + "/text"), Optional(std::string("schedutil")));
  EXPECT_THAT(readText(tree.root() + "/empty"), Optional(std::string()));
  EXPECT_EQ(readText(tree.root() + "/absent"), std::nullopt);
  EXPECT_EQ(readText(tree.root()), std::nullopt) << "a directory is not a text";
}

TEST(SysfsText, IsBounded) {
  SysTree tree;
  tree.file("long", std::string(1'000'000, 'x'));
  EXPECT_EQ(readText(tree.root() + "/long")->size(), 65536U);
}

TEST(SysfsNumber, IsTheWholeText) {
  SysTree tree;
  tree.file("good", "-1\n").file("bad", "12a\n").file("empty", "\n");
  EXPECT_THAT(readNumber(tree.root() + "/good"), Optional(-1));
  EXPECT_EQ(readNumber(tree.root() + "/bad"), std::nullopt);
  EXPECT_EQ(readNumber(tree.root() + "/empty"), std::nullopt);
  EXPECT_EQ(readNumber(tree.root() + "/absent"), std::nullopt);
}

TEST(SysfsHexNumber, HasThePrefixAndFitsSixteenBits) {
  SysTree tree;
  tree.file("good", "0x10fb\n").file("plain", "10fb\n").file("large", "0x10000\n");
  EXPECT_THAT(readHex16(tree.root() + "/good"), Optional(0x10fb));
  EXPECT_EQ(readHex16(tree.root() + "/plain"), std::nullopt);
  EXPECT_EQ(readHex16(tree.root() + "/large"), std::nullopt);
}

TEST(NumberList, UnderstandsRangesAndSingles) {
  EXPECT_THAT(parseNumberList("0-3,8,10-11"), ElementsAre(0, 1, 2, 3, 8, 10, 11));
  EXPECT_THAT(parseNumberList("5"), ElementsAre(5));
  EXPECT_THAT(parseNumberList(""), IsEmpty());
}

TEST(NumberList, EndsAtTheFirstMistake) {
  EXPECT_THAT(parseNumberList("1,x,3"), ElementsAre(1));
  EXPECT_THAT(parseNumberList("1,3-"), ElementsAre(1));
  EXPECT_THAT(parseNumberList("5-2,7"), ElementsAre(7)) << "an empty range is not a mistake";
  EXPECT_THAT(parseNumberList("1,0-4294967295"), ElementsAre(1)) << "memory stays bounded";
  EXPECT_THAT(parseNumberList("0-2,1-3"), ElementsAre(0, 1, 2)) << "for many ranges, too";
}

TEST(SysfsText, OfAPipeThatNobodyWritesToIsEmpty) {
  SysTree tree;
  const std::string path = tree.root() + "/pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_THAT(readText(path), Optional(std::string())) << "and nobody waits for it";
}

TEST(LinkTarget, IsTheTextOfTheLink) {
  SysTree tree;
  tree.link("a", "devices/b").file("file", "");
  EXPECT_THAT(linkTarget(tree.root() + "/a"), Optional(tree.root() + "/devices/b"));
  EXPECT_EQ(linkTarget(tree.root() + "/file"), std::nullopt);
  EXPECT_EQ(linkTarget(tree.root() + "/absent"), std::nullopt);
}

TEST(BaseName, IsTheLastComponent) {
  EXPECT_EQ(baseName("/sys/bus/pci"), "pci");
  EXPECT_EQ(baseName("pci"), "pci");
}

TEST(NamesIn, AreSortedAndEmptyForNoDirectory) {
  SysTree tree;
  tree.directory("q/tx-0").directory("q/rx-1").directory("q/rx-0");
  EXPECT_THAT(namesIn(tree.root() + "/q"), ElementsAre("rx-0", "rx-1", "tx-0"));
  EXPECT_THAT(namesIn(tree.root() + "/absent"), IsEmpty());
}

}  // namespace
}  // namespace LinuxHost
