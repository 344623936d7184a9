#pragma once

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "broker/mof_reader.h"
#include "broker/testing/test_broker.h"

namespace orv::broker {

/// Classes of the tests: a hierarchy of disks, an association, indications, and one class with a
/// property of every kind.
inline std::shared_ptr<const ClassRepository> testClasses() {
  static const auto classes = [] {
    auto made = std::make_shared<ClassRepository>();
    MofReader(*made).readText(R"(
      class Test_Base { [Key] string Id; string Name; };
      class Test_Disk : Test_Base { uint64 Size = 5; uint16 Modes[]; };
      class Test_FastDisk : Test_Disk { uint32 Speed; };
      class Test_SlowDisk : Test_Disk { };
      class Test_Caller : Test_Base { };
      class Test_Failing : Test_Base { };
      class Test_Misuse : Test_Base { };
      class Test_Looping : Test_Base { };
      class Test_Hollow : Test_Base { };
      class Test_Tableless : Test_Base { };
      class Test_Unserved : Test_Base { };
      class Test_UnservedFast : Test_FastDisk { };
      [Association] class Test_Link { [Key] Test_Base REF From; [Key] Test_Base REF To; };
      [Association] class Test_StrongLink : Test_Link { };
      class Test_Kinds {
        [Key] string Id; [Key] uint32 Number; [Key] boolean Flag; [Key] datetime Stamp;
        string Text = "default"; boolean Switch; datetime Time; uint16 Small; sint32 Signed;
        real64 Ratio; Test_Base REF Link; uint16 Numbers[]; string Texts[];
        [EmbeddedObject] string Inner; [EmbeddedInstance("Test_Disk")] string Typed;
      };
      [Indication] class Test_Event { uint32 Level; string Text; };
      [Indication] class Test_Alarm : Test_Event {
        sint64 SequenceNumber; string SequenceContext; string IndicationFilterName; };
      [Indication] class Test_Notice : Test_Event { };
    )",
                              "test.mof");
    return std::shared_ptr<const ClassRepository>(made);
  }();
  return classes;
}

inline RegistrationSection makeSection(const std::string& className, const std::string& provider,
                                       const std::string& types) {
  RegistrationSection section;
  section.className = className;
  section.provider = provider;
  section.location = "sample";
  section.namespaces = {"root/test"};
  section.instance = types.find('i') != std::string::npos;
  section.association = types.find('a') != std::string::npos;
  section.indication = types.find('n') != std::string::npos;
  return section;
}

inline Broker::Options makeOptions(std::vector<RegistrationSection> registration = {}) {
  Broker::Options options;
  options.namespaces["root/test"] = testClasses();
  options.registration = std::move(registration);
  options.libraries["sample"] = ORV_TEST_SAMPLE_LIBRARY;
  return options;
}

/// The sample library beside the broker's own handle on it: its log and its switches.
class SampleLibrary {
 public:
  SampleLibrary() : handle_(dlopen(ORV_TEST_SAMPLE_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) ADD_FAILURE() << dlerror();
    call("sampleReset");
  }
  ~SampleLibrary() {
    call("sampleDropPrepared");
    dlclose(handle_);
  }
  SampleLibrary(const SampleLibrary&) = delete;
  SampleLibrary& operator=(const SampleLibrary&) = delete;

  std::string takeLog() { return symbol<const char*()>("sampleTakeLog")(); }
  void set(const char* name, int value) {
    symbol<void(const char*, int)>("sampleSet")(name, value);
  }
  int deliver(const char* className, const char* text, unsigned level = 0) {
    return symbol<int(const char*, const char*, unsigned)>("sampleDeliver")(className, text, level);
  }
  void call(const char* name) { symbol<void()>(name)(); }
  void awaitWorker(int rounds) { symbol<void(int)>("sampleAwaitWorker")(rounds); }
  const CMPIContext* prepared() { return symbol<const CMPIContext*()>("samplePrepared")(); }

 private:
  template <class Function>
  Function* symbol(const char* name) {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }
  void* handle_;
};

/// A broker over the sample library.
class SampleBroker : public testing::Test {
 protected:
  TestBroker& start(std::vector<RegistrationSection> registration) {
    return start(makeOptions(std::move(registration)));
  }
  TestBroker& start(Broker::Options options,
                    ContextTable contextTable = ContextTable::kEightSlots) {
    broker_ = std::make_unique<TestBroker>(std::move(options), contextTable);
    return *broker_;
  }
  static ObjectPath disk(const std::string& id, const std::string& className = "Test_Disk") {
    return {"", "root/test", className, {{"Id", Value::ofString(id)}}};
  }

  std::unique_ptr<TestBroker> broker_;
  SampleLibrary library_;  // gone before the broker
};

/// Matches a report by parts of its text.
MATCHER_P(Says, part, "") { return arg.toText().find(part) != std::string::npos; }

}  // namespace orv::broker
