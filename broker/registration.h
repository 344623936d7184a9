#pragma once

#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace orv::broker {

/// A registration is not valid. what() is "file:line: message".
class RegistrationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One section of a registration file: which provider serves a class, and how.
struct RegistrationSection {
  std::string className;
  std::string provider;  ///< prefix of the factory symbols
  std::string location;  ///< library name without "lib" and ".so"
  bool instance = false;
  bool association = false;
  bool method = false;
  bool indication = false;
  std::vector<std::string> namespaces;  ///< empty: none; "*": every namespace
  std::string group;                    ///< providers of one group share a process; may be empty
  bool unloadNever = false;
  std::string parameters;  ///< passed to the factory in its context; may be empty
};

/// Reads registration sections in the object manager's own syntax:
///
///   [ClassName]
///     provider: Name            location: library       type: instance association
///     namespace: root/cimv2     group: name             unload: never
///     parameters: any text      user: name
///
/// with one key per line; empty lines and lines that start with "#" are skipped. The types
/// property, class and qualifier and the key user are accepted and ignored. `fileName` is used in
/// messages.
///
/// Fails: RegistrationError for an unknown key, type or unload value; a key given twice or outside
/// a section; a section without provider, location or type; two sections of one class and provider
/// that differ in their types; a line above 64 KiB; more than 10,000 sections.
std::vector<RegistrationSection> readRegistration(std::istream& in, const std::string& fileName);

/// The same for a file. Also fails when the file cannot be read.
std::vector<RegistrationSection> readRegistrationFile(const std::string& fileName);

}  // namespace orv::broker
