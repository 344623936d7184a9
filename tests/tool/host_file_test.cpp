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

TEST_F(HostFile, TheErrorNamesFileLineAndColumn) {
  EXPECT_EQ(errorOf("{\n  \"ports\": [,]\n}"), "host file " + path_ + ":2:13: not JSON");
  EXPECT_EQ(errorOf("x"), "host file " + path_ + ":1:1: not JSON");
  EXPECT_EQ(errorOf(""), "host file " + path_ + ":1:1: not JSON");
}

TEST_F(HostFile, OtherJsonIsNoHost) {
  EXPECT_EQ(errorOf("[]"), "host file " + path_ + ": not a JSON object");
}

TEST_F(HostFile, AMissingFileAndADirectoryCannotBeRead) {
  EXPECT_THROW(checkHostFile(path_ + ".absent"), BadInput);
  EXPECT_THROW(checkHostFile(testing::TempDir()), BadInput);
}

}  // namespace
}  // namespace orv::tool
