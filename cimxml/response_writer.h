#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "cimxml/element_writer.h"
#include "cimxml/messages.h"

namespace orv::cimxml {

/// How objects are written, and how many.
struct WriteOptions {
  std::string host = "localhost";  ///< HOST of paths that have none
  std::size_t limit = 32U << 20;   ///< bytes of the return value, at most
};

/// Builds a message with one simple response. The text is UTF-8; characters that XML cannot carry
/// are replaced by U+FFFD.
class ResponseWriter {
 public:
  explicit ResponseWriter(const Call& call, WriteOptions options);
  ~ResponseWriter();
  ResponseWriter(const ResponseWriter&) = delete;
  ResponseWriter& operator=(const ResponseWriter&) = delete;

  // Each adds one element to the return value. It is kept as text alone, which takes less memory.
  // Fails: CimError when the return value becomes larger than the limit.
  void className(const std::string& name);  ///< CLASSNAME
  void classDefinition(const broker::ClassDefinition& definition,
                       const ClassOptions& options);              ///< CLASS
  void qualifier(const broker::QualifierDefinition& definition);  ///< QUALIFIER.DECLARATION
  void instanceName(const broker::ObjectPath& path);              ///< INSTANCENAME
  void namedInstance(const broker::Instance& instance);           ///< VALUE.NAMEDINSTANCE
  void instance(const broker::Instance& instance);                ///< INSTANCE
  void instancePath(const broker::ObjectPath& path);              ///< INSTANCEPATH
  void instanceWithPath(const broker::Instance& instance);        ///< VALUE.INSTANCEWITHPATH
  void objectPath(const broker::ObjectPath& path);                ///< OBJECTPATH
  void objectWithPath(const broker::Instance& instance);          ///< VALUE.OBJECTWITHPATH

  /// For an operation that returns nothing: the response has no return value.
  void noReturnValue();
  /// Adds an output parameter after the return value. `type` is its PARAMTYPE.
  void outParameter(const std::string& name, const char* type, const std::string& text);

  /// Sets the classes that give the CLASSORIGIN of instances' properties; null: none is written.
  /// They must outlive the writer.
  void setOriginClasses(const broker::ClassRepository* classes);

  /// Returns the whole message; with a `failure`, its response is that ERROR alone.
  std::string finish(const std::optional<CimError>& failure = std::nullopt);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::cimxml
