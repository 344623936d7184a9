#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::serve {

/// A filter, a handler or a subscription as it is kept.
struct StoredObject {
  broker::Instance instance;
  std::string creator;  ///< address of the client that made it
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
/// Properties that are null are left out; their types are those of the class.
std::string storeText(const std::vector<StoredObject>& objects);

/// Fails: StoreError.
std::vector<StoredObject> readStore(const std::string& text,
                                    const broker::ClassRepository& classes);

/// The file in which the objects outlive the process.
class SubscriptionStore {
 public:
  /// An empty name: nothing is kept.
  explicit SubscriptionStore(std::string file) : file_(std::move(file)) {}

  /// What was saved last; nothing when there is no file. A file that cannot be understood is set
  /// aside under its name with ".damaged" appended, with a line in the log.
  ///
  /// Fails: std::runtime_error when the file is there and cannot be read.
  std::vector<StoredObject> load(const broker::ClassRepository& classes) const;

  /// Replaces the file at once or not at all, whenever the process or the host ends.
  ///
  /// Fails: std::runtime_error; the file is then as it was.
  void save(const std::vector<StoredObject>& objects) const;

 private:
  const std::string file_;
};

}  // namespace orv::serve
