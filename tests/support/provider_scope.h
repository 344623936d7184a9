#pragma once

#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "broker/mof_reader.h"
#include "broker/testing/test_broker.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_memory_mark.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_result.h"
#include "cmpi/cmpi_status.h"

/// Calls provider objects directly, in a request thread of the embedded broker, so that a test sees
/// what they return and throw.
namespace orv::test {

/// What an operation returned.
struct Answer {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  std::vector<broker::Instance> instances;
  std::vector<broker::ObjectPath> paths;
  std::vector<broker::Value> data;
  int doneCount = 0;
};

inline std::shared_ptr<const broker::ClassRepository> projectSchema() {
  static const auto schema = std::make_shared<const broker::ClassRepository>(
      broker::loadSchema(std::string(ORV_SOURCE_DIR) + "/schema"));
  return schema;
}

/// A path with text keys.
inline broker::ObjectPath objectPath(
    const std::string& className,
    std::initializer_list<std::pair<std::string, std::string>> keys = {},
    const std::string& nameSpace = "root/cimv2") {
  broker::ObjectPath path;
  path.nameSpace = nameSpace;
  path.className = className;
  for (const auto& [name, text] : keys) {
    path.keys.push_back({name, broker::Value::ofString(text)});
  }
  return path;
}

/// A request thread on the project's schema (or another one) for as long as it lives.
class ProviderScope {
 public:
  explicit ProviderScope(std::shared_ptr<const broker::ClassRepository> schema = projectSchema(),
                         std::map<std::string, void*> linkedFactories = {},
                         std::vector<broker::RegistrationSection> registration = {})
      : broker_(options(std::move(schema), std::move(linkedFactories), std::move(registration))),
        scope_(broker_) {
    CmpiProviderBase::setBroker(scope_.broker());
  }

  broker::TestBroker& embeddedBroker() { return broker_; }
  broker::RequestScope& scope() { return scope_; }
  CmpiContext context() const { return CmpiContext(scope_.context()); }
  CmpiBroker broker() const { return CmpiBroker(scope_.broker()); }
  CmpiObjectPath path(const broker::ObjectPath& plain) {
    return CmpiObjectPath(scope_.make(plain));
  }

  template <typename Provider>
  std::unique_ptr<Provider> make() {
    return std::make_unique<Provider>(broker(), context());
  }

  /// Runs `operation(context, result)`; passes on what it throws. Broker objects that it made are
  /// gone afterwards.
  template <typename Operation>
  Answer run(Operation operation) {
    const CmpiMemoryMark mark(broker());
    broker::RecordingResult record(scope_);
    CmpiResult result(record.record());
    const CmpiStatus status = operation(context(), result);
    Answer answer;
    answer.rc = status.rc();
    if (status.msg() != nullptr) answer.message = status.msg();
    answer.instances = record.instances();
    answer.paths = record.paths();
    answer.data = record.data();
    answer.doneCount = record.doneCount();
    return answer;
  }

 private:
  static broker::Broker::Options options(std::shared_ptr<const broker::ClassRepository> schema,
                                         std::map<std::string, void*> linkedFactories,
                                         std::vector<broker::RegistrationSection> registration) {
    broker::Broker::Options options;
    options.namespaces["root/cimv2"] = std::move(schema);
    options.linkedFactories = std::move(linkedFactories);
    options.registration = std::move(registration);
    return options;
  }

  broker::TestBroker broker_;
  broker::RequestScope scope_;
};

}  // namespace orv::test
