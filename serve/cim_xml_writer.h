#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "serve/messages.h"

namespace orv::serve {

/// What the objects of a response look like on the wire.
struct WriteOptions {
  bool includeQualifiers = false;
  bool includeClassOrigin = false;
  bool localOnly = false;          ///< classes: what the class itself declares or overrides
  std::string host = "localhost";  ///< HOST of paths that have none
};

/// A response message under construction; one simple response. The text is UTF-8; characters that
/// XML cannot carry are replaced by U+FFFD.
class ResponseWriter {
 public:
  explicit ResponseWriter(const Call& call, WriteOptions options);
  ~ResponseWriter();
  ResponseWriter(const ResponseWriter&) = delete;
  ResponseWriter& operator=(const ResponseWriter&) = delete;

  WriteOptions& options();

  // Each adds one element to the return value.
  void className(const std::string& name);  ///< CLASSNAME
  void classDefinition(const broker::ClassDefinition& definition,
                       const std::optional<std::vector<std::string>>& properties);  ///< CLASS
  void instanceName(const broker::ObjectPath& path);      ///< INSTANCENAME
  void namedInstance(const broker::Instance& instance);   ///< VALUE.NAMEDINSTANCE
  void instance(const broker::Instance& instance);        ///< INSTANCE
  void objectPath(const broker::ObjectPath& path);        ///< OBJECTPATH
  void objectWithPath(const broker::Instance& instance);  ///< VALUE.OBJECTWITHPATH

  /// Class that tells the origin of an instance's properties; null: none is written.
  void setOriginClasses(const broker::ClassRepository* classes);

  /// The whole message; an ERROR in place of the return value when `failure` is given.
  std::string finish(const std::optional<CimError>& failure = std::nullopt);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// The ExportIndication request for one indication.
std::string exportMessage(const broker::Instance& indication, const std::string& messageId);

/// Valid UTF-8 without characters that XML 1.0 cannot carry.
std::string cleanText(std::string_view text);

}  // namespace orv::serve
