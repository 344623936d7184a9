// What the library says about this machine's processors, beside what lscpu says.

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "tests/platform/linux/tool_output.h"
#include "tests/support/real_library.h"

namespace {

using orv::broker::Instance;
using orv::broker::Response;

class RealProcessors : public testing::Test {
 protected:
  void SetUp() override {
    const auto text = LinuxHost::toolOutput("lscpu -J");
    if (!text) GTEST_SKIP() << "no lscpu command";
    addFields(nlohmann::json::parse(*text).at("lscpu"));
    processors_ = broker_.enumerateInstances("root/cimv2", "Orvane_Processor");
    ASSERT_TRUE(processors_.ok());
    ASSERT_FALSE(processors_.instances.empty());
  }

  /// Newer versions nest the fields.
  void addFields(const nlohmann::json& fields) {
    for (const auto& field : fields) {
      if (field.contains("data") && field["data"].is_string()) {
        lscpu_[field.at("field")] = field["data"];
      }
      if (field.contains("children")) addFields(field["children"]);
    }
  }

  std::string lscpu(const std::string& field) const {
    const auto found = lscpu_.find(field + ":");
    return found == lscpu_.end() ? "" : found->second;
  }
  unsigned long number(const std::string& field) const {
    const std::string text = lscpu(field);
    return text.empty() ? 0 : std::stoul(text);
  }
  bool hasFlag(const std::string& flag) const {
    std::istringstream flags(lscpu("Flags"));
    for (std::string word; flags >> word;) {
      if (word == flag) return true;
    }
    return false;
  }
  /// Whether a place of the characteristics is taken.
  static bool has(const Instance& processor, std::size_t place) {
    return !processor.property("Characteristics")->array().at(place).null;
  }

  orv::broker::Broker broker_{orv::test::realLibrary()};
  Response processors_;
  std::map<std::string, std::string> lscpu_;
};

TEST_F(RealProcessors, AreTheSockets) {
  if (number("Socket(s)") == 0) GTEST_SKIP() << "lscpu names no sockets";
  EXPECT_EQ(processors_.instances.size(), number("Socket(s)"));
}

TEST_F(RealProcessors, HaveTheCoresOfTheSockets) {
  if (number("Core(s) per socket") == 0) GTEST_SKIP() << "lscpu names no cores";
  if (!lscpu("Off-line CPU(s) list").empty()) GTEST_SKIP() << "lscpu leaves offline cores out";
  for (const Instance& processor : processors_.instances) {
    EXPECT_EQ(processor.property("NumberOfEnabledCores")->number(), number("Core(s) per socket"));
  }
}

TEST_F(RealProcessors, AreIdentifiedAlike) {
  const std::string vendor = lscpu("Vendor ID");
  const unsigned long code = vendor == "GenuineIntel" ? 2 : vendor == "AuthenticAMD" ? 3 : 1;
  for (const Instance& processor : processors_.instances) {
    EXPECT_EQ(processor.property("Vendor")->number(), code);
    EXPECT_EQ(processor.property("ModelName")->text(), lscpu("Model name").substr(0, 48));
    if (!lscpu("Stepping").empty()) {
      EXPECT_EQ(processor.property("Stepping")->text(), lscpu("Stepping"));
    }
  }
}

TEST_F(RealProcessors, HaveTheFeaturesOfTheFlags) {
  if (lscpu("Flags").empty()) GTEST_SKIP() << "lscpu names no flags";
  const std::string vendor = lscpu("Vendor ID");
  if (vendor != "GenuineIntel" && vendor != "AuthenticAMD") GTEST_SKIP() << "another vendor";
  for (const Instance& processor : processors_.instances) {
    EXPECT_EQ(has(processor, 0), hasFlag("lm"));
    EXPECT_EQ(has(processor, 1), hasFlag(vendor == "GenuineIntel" ? "vmx" : "svm"));
    EXPECT_EQ(has(processor, 2), number("Thread(s) per core") > 1);
    EXPECT_EQ(has(processor, 3), hasFlag("nx"));
  }
}

TEST_F(RealProcessors, Run) {
  for (const Instance& processor : processors_.instances) {
    EXPECT_EQ(processor.property("CPUStatus")->number(), 1U);
  }
}

TEST_F(RealProcessors, BelongToThisHost) {
  const std::string node = LinuxHost::toolOutput("uname -n").value_or("");
  for (const Instance& processor : processors_.instances) {
    EXPECT_EQ(processor.property("SystemName")->text() + "\n", node);
    EXPECT_EQ(processor.property("SystemCreationClassName")->text(), "OMC_UnitaryComputerSystem");
  }
}

}  // namespace
