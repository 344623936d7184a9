#include "platform/linux/release_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(OsRelease, ResolvesQuotesAndEscapes) {
  EXPECT_THAT(parseOsRelease("NAME=\"Debian GNU/Linux\"\nID=debian\nA='it \"is\"'\n"
                             "B=\"a \\\"quoted\\\" \\$ and \\\\ \"\n"),
              ElementsAre(Pair("A", "it \"is\""), Pair("B", "a \"quoted\" $ and \\ "),
                          Pair("ID", "debian"), Pair("NAME", "Debian GNU/Linux")));
}

TEST(OsRelease, PassesOverCommentsAndNonsense) {
  EXPECT_THAT(parseOsRelease("# NAME=x\n\n   \nnonsense\n  ID=arch  \r\nlast=1"),
              ElementsAre(Pair("ID", "arch"), Pair("last", "1")));
  EXPECT_THAT(parseOsRelease(""), IsEmpty());
}

TEST(OsRelease, SurvivesOpenQuotesAndTrailingBackslashes) {
  EXPECT_THAT(parseOsRelease("A=\"open\nB=\"\\\nC=\"\nD=\n"),
              ElementsAre(Pair("A", "open"), Pair("B", "\\"), Pair("C", ""), Pair("D", "")));
}

TEST(OsRelease, TakesTheLastOfSeveralAssignments) {
  EXPECT_THAT(parseOsRelease("ID=a\nID=b\n"), ElementsAre(Pair("ID", "b")));
}

TEST(DottedVersion, IsTheBeginningOfTheKernelRelease) {
  EXPECT_EQ(dottedVersion("6.1.0-18-amd64"), "6.1.0");
  EXPECT_EQ(dottedVersion("6.18.44-fc-v669"), "6.18.44");
  EXPECT_EQ(dottedVersion("5.10.0"), "5.10.0");
  EXPECT_EQ(dottedVersion("6.1.rc3"), "6.1");
  EXPECT_EQ(dottedVersion("custom"), "");
}

TEST(BuildNumber, IsTheKernelsBuildCounter) {
  EXPECT_EQ(buildNumberOf("#1 SMP PREEMPT_DYNAMIC Debian 6.1.76-1 (2024-02-01)"), 1);
  EXPECT_EQ(buildNumberOf("#101-Ubuntu SMP"), 101);
  EXPECT_EQ(buildNumberOf("SMP"), 0);
  EXPECT_EQ(buildNumberOf(""), 0);
  EXPECT_EQ(buildNumberOf("#x"), 0);
  EXPECT_EQ(buildNumberOf("#99999999999"), 0) << "too large to be one";
}

TEST(ReleaseDate, IsFoundInEveryForm) {
  EXPECT_EQ(releaseDateOf("#1 SMP PREEMPT_DYNAMIC Debian 6.1.76-1 (2024-02-01)"), "Feb 1 2024");
  EXPECT_EQ(releaseDateOf("#1 SMP Thu Sep 21 14:00:00 UTC 2023"), "Sep 21 2023");
  EXPECT_EQ(releaseDateOf("#1 SMP Sat Oct  4 14:00:00 2014"), "Oct 4 2014");
  EXPECT_EQ(releaseDateOf("#1 SMP PREEMPT_DYNAMIC Fri, 17 Jan 2025 15:26:31 +0000"), "Jan 17 2025");
  EXPECT_EQ(releaseDateOf("#1 SMP PREEMPT Fedora 6.12 (2025-01-24T12:32Z)"), "Jan 24 2025");
}

TEST(ReleaseDate, IsEmptyWithoutADate) {
  for (const char* text : {"#1 SMP PREEMPT_DYNAMIC @0", "", "#1 SMP", "#1 Thu Sep", "#1 Thu Sep 21",
                           "#1 Sep 32 2023", "#1 (2024-13-01)", "#1 (2024-02-00)", "#1 (20240201)",
                           "#1 Sep 21 a b c 2023", "#1 Fri, 17 Jan", "#1 Fri, 32 Jan 2025",
                           "#1 17 Jan 15:26:31 +0000", "#1 (2025-01-2T12:32Z)"}) {
    EXPECT_EQ(releaseDateOf(text), "") << text;
  }
}

TEST(CutText, EndsWithAWholeCharacter) {
  EXPECT_EQ(cutToFit("abc", 3), "abc");
  EXPECT_EQ(cutToFit("abcd", 3), "abc");
  EXPECT_EQ(cutToFit("ab\u00e4", 3), "ab") << "the character has two bytes";
  EXPECT_EQ(cutToFit("a\u20ac", 4), "a\u20ac");
  EXPECT_EQ(cutToFit("\u20ac", 2), "");
  EXPECT_EQ(cutToFit("", 0), "");
}

}  // namespace
}  // namespace LinuxHost
