#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/mof_lexer.h"

namespace orv::broker {

/// Limits so that no input, however hostile, can exhaust the process.
struct MofLimits {
  std::size_t fileBytes = std::size_t{8} * 1024 * 1024;  ///< of one file
  std::size_t repositoryBytes =
      std::size_t{256} * 1024 * 1024;  ///< of all classes with what they inherit, estimated
  int includeDepth = 16;
  int inheritanceDepth = 64;
};

/// Reads MOF into a class repository. A strict reader of the subset that class schemas use (grammar
/// in mof_parser.cpp): qualifier declarations and classes. Instances are errors; methods are
/// checked but not kept.
///
/// Declarations precede uses: a superclass its subclasses, a qualifier's declaration its use. They
/// apply to all files of one reader. The qualifiers that the broker itself interprets (Abstract,
/// Association, EmbeddedInstance, EmbeddedObject, Indication, Key, Override) need no declaration.
class MofReader {
 public:
  /// `classes` must outlive the reader.
  explicit MofReader(ClassRepository& classes, MofLimits limits = {});

  /// Reads one file and its includes. A file that this reader has read before is skipped, so that
  /// every file can include what it needs.
  ///
  /// Fails: MofError for the first error; classes before it stay in the repository.
  void readFile(const std::string& path);

  /// The same for a text. `name` is the file's name in messages; up to its last "/" it is the
  /// directory of relative includes.
  void readText(std::string_view text, const std::string& name);

  /// Reads every *.mof file of a directory in the order of their names, those of its subdirectory
  /// "base" first if it has one.
  ///
  /// Fails: MofError, also for a directory that cannot be read or has no *.mof file.
  void readDirectory(const std::string& directory);

 private:
  friend class MofParser;

  static bool isReadable(const std::string& path);
  void addClass(ClassDefinition own);

  ClassRepository& classes_;
  MofLimits limits_;
  std::map<std::string, CMPIType, NameLess> qualifiers_;  // the declared ones
  std::set<std::string> filesRead_;                       // canonical paths
  std::map<std::string, int, NameLess> inheritanceDepth_;
  std::size_t repositoryBytes_ = 0;
  int includeDepth_ = 0;
};

/// Reads the classes of a schema directory as MofReader::readDirectory does.
ClassRepository loadSchema(const std::string& directory);

}  // namespace orv::broker
