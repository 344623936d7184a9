#include "serve/subscription_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "broker/mof_reader.h"

namespace {

std::atomic<bool> directoriesSync{true};

}  // namespace

/// In place of the C library's.
extern "C" int fsync(int descriptor) {
  struct stat status {};
  if (!directoriesSync && fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
    errno = EIO;
    return -1;
  }
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace orv::serve {
namespace {

namespace fs = std::filesystem;
using broker::Value;
using testing::HasSubstr;

const broker::ClassRepository& classes() {
  static const broker::ClassRepository read = broker::loadSchema(ORV_SOURCE_DIR "/schema/interop");
  return read;
}

StoredObject aFilter(const std::string& name) {
  StoredObject object;
  object.creator = "192.0.2.1";
  object.instance.path.className = "CIM_IndicationFilter";
  object.instance.properties = {
      {"Name", Value::ofString(name)},
      {"Query", Value::ofString("SELECT * FROM C WHERE a = \"\xC3\xA4\"")},
      {"SourceNamespace", Value::ofNull(CMPI_string)},
      {"SourceNamespaces", Value::ofArray(CMPI_string, {Value::ofString("root/cimv2")})}};
  return object;
}

StoredObject aSubscription() {
  broker::ObjectPath filter;
  filter.className = "CIM_IndicationFilter";
  filter.keys = {{"Name", Value::ofString("f")}};
  StoredObject object;
  object.creator = "::1";
  object.instance.path.className = "CIM_IndicationSubscription";
  object.instance.properties = {{"Filter", Value::ofReference(filter)},
                                {"SubscriptionState", Value::ofUnsigned(CMPI_uint16, 4)}};
  return object;
}

class SubscriptionStoreTest : public testing::Test {
 protected:
  SubscriptionStoreTest() {
    if (mkdtemp(directory_) == nullptr) std::abort();
    file_ = std::string(directory_) + "/subscriptions.json";
  }
  ~SubscriptionStoreTest() override { fs::remove_all(directory_); }

  void write(const std::string& text) const { std::ofstream(file_) << text; }
  std::string text(const std::string& file) const {
    std::ifstream in(file);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }

  char directory_[32] = "/tmp/orv-store-test-XXXXXX";
  std::string file_;
};

TEST_F(SubscriptionStoreTest, WhatIsSavedIsLoaded) {
  const SubscriptionStore store(file_);
  EXPECT_TRUE(store.load(classes()).empty());
  store.save({aFilter("f"), aSubscription()});
  const std::vector<StoredObject> loaded = store.load(classes());
  ASSERT_EQ(loaded.size(), 2U);
  EXPECT_EQ(loaded[0].creator, "192.0.2.1");
  EXPECT_EQ(loaded[0].instance.property("Query")->text(), "SELECT * FROM C WHERE a = \"\xC3\xA4\"");
  EXPECT_EQ(loaded[0].instance.property("SourceNamespace"), nullptr);
  EXPECT_EQ(*loaded[0].instance.property("SourceNamespaces"),
            *aFilter("f").instance.property("SourceNamespaces"));
  EXPECT_EQ(*loaded[1].instance.property("Filter"), *aSubscription().instance.property("Filter"));
  EXPECT_EQ(loaded[1].instance.property("SubscriptionState")->number(), 4U);
}

TEST_F(SubscriptionStoreTest, NobodyElseReadsTheFile) {
  SubscriptionStore(file_).save({aFilter("f")});
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_FALSE(fs::exists(file_ + ".new"));
}

TEST_F(SubscriptionStoreTest, ADamagedFileIsSetAside) {
  for (const char* damaged :
       {"", "{", "[]", "{}", "{\"version\": 2, \"objects\": []}", "{\"version\": 1}",
        "{\"version\": 1, \"objects\": {}}", "{\"version\": 1, \"objects\": [1]}",
        "{\"version\": 1, \"objects\": [{\"class\": \"CIM_Nothing\", \"creator\": \"\", "
        "\"properties\": {}}]}",
        "{\"version\": 1, \"objects\": [{\"class\": \"CIM_IndicationFilter\", \"creator\": \"\", "
        "\"properties\": {\"Name\": 5}}]}",
        "{\"version\": 1, \"objects\": [{\"class\": \"CIM_IndicationFilter\", \"creator\": \"\", "
        "\"properties\": {\"Nothing\": \"x\"}}]}",
        "{\"version\": 1, \"objects\": [{\"class\": \"CIM_IndicationSubscription\", \"creator\": "
        "\"\","
        "\"properties\": {\"SubscriptionState\": 70000}}]}"}) {
    write(damaged);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(SubscriptionStore(file_).load(classes()).empty()) << damaged;
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("is damaged")) << damaged;
    EXPECT_FALSE(fs::exists(file_)) << damaged;
    EXPECT_EQ(text(file_ + ".damaged"), damaged);
  }
}

TEST_F(SubscriptionStoreTest, AFailureLeavesTheFileAsItWas) {
  const SubscriptionStore store(file_);
  store.save({aFilter("f")});
  const std::string before = text(file_);
  fs::create_directory(file_ + ".new");  // in the way of the temporary file
  EXPECT_THROW(store.save({}), std::runtime_error);
  EXPECT_EQ(text(file_), before);
}

TEST_F(SubscriptionStoreTest, AFileInPlaceIsSavedEvenIfItsDirectoryCannotBeSynced) {
  const SubscriptionStore store(file_);
  store.save({aFilter("f")});
  directoriesSync = false;
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(store.save({aFilter("f"), aSubscription()}));
  directoriesSync = true;
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("cannot be synced: Input/output error"));
  EXPECT_EQ(store.load(classes()).size(), 2U);
}

TEST_F(SubscriptionStoreTest, WithoutAFileNothingIsKept) {
  const SubscriptionStore store("");
  store.save({aFilter("f")});
  EXPECT_TRUE(store.load(classes()).empty());
}

}  // namespace
}  // namespace orv::serve
