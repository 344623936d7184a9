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

/// What the objects of a response look like on the wire.
struct WriteOptions {
  std::string host = "localhost";  ///< HOST of paths that have none
  std::size_t limit = 32U << 20;   ///< bytes of the return value
};

/// A response message under construction; one simple response. The text is UTF-8; characters that
/// XML cannot carry are replaced by U+FFFD.
class ResponseWriter {
 public:
  explicit ResponseWriter(const Call& call, WriteOptions options);
  ~ResponseWriter();
  ResponseWriter(const ResponseWriter&) = delete;
  ResponseWriter& operator=(const ResponseWriter&) = delete;

  // Each adds one element to the return value, as text: of a large answer only the text is kept.
  // Fails: CimError when the return value becomes too large.
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
  /// An output parameter after the return value.
  void outParameter(const std::string& name, const char* type, const std::string& text);

  /// Classes that give the origin of instances' properties; null: none is written.
  void setOriginClasses(const broker::ClassRepository* classes);

  /// The whole message; an ERROR in place of the return value when `failure` is given.
  std::string finish(const std::optional<CimError>& failure = std::nullopt);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::cimxml
