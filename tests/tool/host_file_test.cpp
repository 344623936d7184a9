#include "tool/host_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "tool/errors.h"

namespace orv::tool {
namespace {

class HostFile : public testing::Test {
 protected:
  HostFile() : path_(testing::TempDir() + "host" + std::to_string(getpid()) + ".json") {}
  ~HostFile() override { std::remove(path_.c_str()); }

  std::string errorOf(const std::string& text) {
    std::ofstream(path_) << text;
    try {
      checkHostFile(path_);
    } catch (const BadInput& e) {
      return e.what();
    }
    return "no error";
  }

  std::string path_;
};

TEST_F(HostFile, AnObjectIsFine) {
  EXPECT_EQ(errorOf("{}"), "no error");
  EXPECT_EQ(errorOf("{\"ports\": []}\n"), "no error");
}

TEST_F(HostFile, TheErrorNamesFileAndPlace) {
  EXPECT_EQ(
      errorOf("{\n  \"ports\": [,]\n}").rfind("host file " + path_ + ": line 2, column 13: ", 0),
      0U);
  EXPECT_EQ(errorOf("").rfind("host file " + path_ + ": line 1, column 1: ", 0), 0U);
}

TEST_F(HostFile, AMisspeltMemberIsNamed) {
  EXPECT_EQ(errorOf("{\"prts\": []}"), "host file " + path_ + ": /prts: unknown member");
}

TEST_F(HostFile, OtherJsonIsNoHost) { EXPECT_NE(errorOf("[]"), "no error"); }

TEST_F(HostFile, AMissingFileAndADirectoryCannotBeRead) {
  EXPECT_THROW(checkHostFile(path_ + ".absent"), BadInput);
  EXPECT_THROW(checkHostFile(testing::TempDir()), BadInput);
}

}  // namespace
}  // namespace orv::tool
