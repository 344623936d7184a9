#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::serve {

/// A filter, a handler or a subscription as it is stored.
struct StoredObject {
  broker::Instance instance;
  std::string creator;  ///< address of the client that created it
};

/// The text is not what `storeText` writes; what() says why.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The objects as JSON:
///
///   {"version": 1, "objects": [{"class": "...", "creator": "192.0.2.1", "properties": {
///     "Name": "...", "SubscriptionState": 2, "SourceNamespaces": ["root/cimv2"],
///     "Filter": {"class": "...", "keys": {"Name": "..."}}}}]}
///
/// Properties that are null are left out. The types are not stored; they are those of the class.
std::string storeText(const std::vector<StoredObject>& objects);

/// Reads what storeText wrote; `classes` are those of the objects. Fails: StoreError.
std::vector<StoredObject> readStore(const std::string& text,
                                    const broker::ClassRepository& classes);

/// The file that keeps the objects when the process ends. Not synchronised: callers hold a lock.
class SubscriptionStore {
 public:
  /// With an empty name nothing is stored.
  explicit SubscriptionStore(std::string file) : file_(std::move(file)) {}

  /// The objects saved last; none when there is no file. A file that cannot be understood is
  /// renamed to its name with ".damaged" appended, and this is logged.
  ///
  /// Fails: std::runtime_error when the file exists but cannot be read or renamed.
  std::vector<StoredObject> load(const broker::ClassRepository& classes) const;

  /// Replaces the file atomically: if the process or the host stops, the file is either the old one
  /// or the new one.
  ///
  /// Fails: std::runtime_error. The file is then the old one. When only the last step fails, which
  /// makes the new file durable, that is logged: the change has been made.
  void save(const std::vector<StoredObject>& objects) const;

 private:
  const std::string file_;
};

}  // namespace orv::serve
