#include "framework/text_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ORV::kMostFileBytes;
using ORV::kMostLineBytes;
using ORV::LineReader;
using ORV::readTextFile;

/// A directory of the test's own, gone afterwards.
class TextFile : public testing::Test {
 protected:
  TextFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orv-text-XXXXXX").string();
    directory_ = mkdtemp(pattern.data());
  }
  ~TextFile() override { std::filesystem::remove_all(directory_); }

  std::string path() const { return directory_ / "file"; }
  void write(const std::string& text) const { std::ofstream(path(), std::ios::binary) << text; }

  std::filesystem::path directory_;
};

TEST_F(TextFile, IsReadWhole) {
  const std::string text = std::string("a\0b\n\r\n", 6) + std::string(100'000, 'x');
  write(text);
  EXPECT_EQ(readTextFile(path().c_str()), text);
}

TEST_F(TextFile, MayBeEmpty) {
  write("");
  EXPECT_EQ(readTextFile(path().c_str()), "");
}

TEST_F(TextFile, IsReadUpToAMebibyte) {
  for (const std::size_t more : {0, 1, 100'000}) {
    write(std::string(kMostFileBytes, 'x') + std::string(more, 'y'));
    EXPECT_EQ(readTextFile(path().c_str()), std::string(kMostFileBytes, 'x')) << more;
  }
}

TEST_F(TextFile, OfAGigabyteIsReadUpToAMebibyte) {
  write("begin");
  std::filesystem::resize_file(path(), 1 << 30);
  const auto text = readTextFile(path().c_str());
  ASSERT_TRUE(text);
  EXPECT_EQ(text->size(), kMostFileBytes);
  EXPECT_EQ(text->substr(0, 6), std::string("begin\0", 6));
}

TEST_F(TextFile, WhoseSizeIsNotTold) {
  const auto text = readTextFile("/proc/self/status");
  ASSERT_TRUE(text);
  EXPECT_EQ(text->rfind("Name:", 0), 0U);
}

TEST_F(TextFile, IsFoundThroughALink) {
  write("text");
  const std::string link = directory_ / "link";
  std::filesystem::create_symlink(path(), link);
  EXPECT_EQ(readTextFile(link.c_str()), "text");
}

TEST_F(TextFile, IsNoDirectoryDeviceOrPipe) {
  EXPECT_FALSE(readTextFile(directory_.c_str()));
  EXPECT_FALSE(readTextFile("/dev/zero"));
  EXPECT_FALSE(readTextFile("/dev/null"));
  ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
  alarm(30);  // a pipe that nobody writes to would block for ever
  EXPECT_FALSE(readTextFile(path().c_str()));
  alarm(0);
}

TEST_F(TextFile, ThatIsMissingOrClosedToUsIsAbsent) {
  EXPECT_FALSE(readTextFile(path().c_str()));
  EXPECT_FALSE(readTextFile("/proc/self/mem")) << "opens, and cannot be read at its start";
}

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  LineReader reader(in);
  while (const auto line = reader.next()) lines.emplace_back(*line);
  EXPECT_TRUE(in.eof());
  return lines;
}

using Lines = std::vector<std::string>;

TEST(Lines, AreWhatStandsBetweenNewlines) {
  EXPECT_EQ(linesOf(""), Lines());
  EXPECT_EQ(linesOf("\n"), Lines({""}));
  EXPECT_EQ(linesOf("a"), Lines({"a"}));
  EXPECT_EQ(linesOf("a\n"), Lines({"a"}));
  EXPECT_EQ(linesOf("\n\na\r\n\nb"), Lines({"", "", "a\r", "", "b"}));
  EXPECT_EQ(linesOf(std::string("a\0b\nc", 5)), Lines({std::string("a\0b", 3), "c"}));
}

TEST(Lines, AreCutAfter64Kibibytes) {
  const std::string whole(kMostLineBytes, 'x');
  EXPECT_EQ(linesOf(whole), Lines({whole}));
  EXPECT_EQ(linesOf(whole + "\nb"), Lines({whole, "b"}));
  EXPECT_EQ(linesOf(whole + "y"), Lines({whole}));
  EXPECT_EQ(linesOf(whole + "y\nb\n"), Lines({whole, "b"}));
  EXPECT_EQ(linesOf(whole + whole + whole + "\n" + whole), Lines({whole, whole}));
}

TEST(Lines, OfAStreamThatFailsAreNone) {
  std::istringstream in("a\n");
  in.setstate(std::ios::badbit);
  EXPECT_FALSE(LineReader(in).next());
}

}  // namespace
