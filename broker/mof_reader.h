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

/// Limits that keep any input, however hostile, from taking the process down.
struct MofLimits {
  std::size_t fileBytes = std::size_t{8} * 1024 * 1024;
  std::size_t repositoryBytes =
      std::size_t{256} * 1024 * 1024;  ///< all classes with what they inherit
  int includeDepth = 16;
  int inheritanceDepth = 64;
};

/// Reads MOF into a class repository. A strict reader of the subset that class schemas are written
/// in (grammar in mof_reader.cpp): qualifier declarations and classes; instances are not read,
/// methods are checked and forgotten.
///
/// Everything is known before it is used: a superclass stands before its subclasses, a qualifier's
/// declaration before its use. Declarations hold for all files of one reader. The qualifiers that
/// the broker itself acts on (Abstract, Association, EmbeddedInstance, EmbeddedObject, Indication,
/// Key, Override) need none.
class MofReader {
 public:
  /// `classes` must outlive the reader.
  explicit MofReader(ClassRepository& classes, MofLimits limits = {});

  /// Reads one file and what it includes; a file that this reader has read before is skipped, so
  /// that every file can include what it needs.
  ///
  /// Fails: MofError for the first thing that is wrong; classes before it stay in the repository.
  void readFile(const std::string& path);

  /// The same for a text; `name` stands for the file's name in messages and, up to its last "/",
  /// for the directory of its includes.
  void readText(std::string_view text, const std::string& name);

  /// Reads every *.mof file of a directory, in the order of their names; those of its subdirectory
  /// "base", when it has one, come first.
  ///
  /// Fails: MofError, also for a directory that cannot be read or holds no MOF.
  void readDirectory(const std::string& directory);

 private:
  friend class MofParser;

  struct QualifierDeclaration {
    CMPIType type = CMPI_boolean;
  };

  static bool isReadable(const std::string& path);
  const QualifierDeclaration* findQualifier(std::string_view name) const;
  void addClass(ClassDefinition own);

  ClassRepository& classes_;
  MofLimits limits_;
  std::map<std::string, QualifierDeclaration, NameLess> qualifiers_;
  std::set<std::string> filesRead_;  // canonical paths
  std::map<std::string, int, NameLess> inheritanceDepth_;
  std::size_t repositoryBytes_ = 0;
  int includeDepth_ = 0;
};

/// The classes of a schema directory, as MofReader::readDirectory reads them.
ClassRepository loadSchema(const std::string& directory);

}  // namespace orv::broker
