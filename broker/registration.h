#pragma once

#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace orv::broker {

/// A registration file that the object manager would refuse; the text is "file:line: message".
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
  std::vector<std::string> namespaces;  ///< empty: never selected; "*": every namespace
  std::string group;                    ///< process that the provider shares; may be empty
  bool unloadNever = false;
  std::string parameters;  ///< text given to the factory in its context; may be empty
};

/// Reads registration sections in the object manager's own syntax:
///
///   [ClassName]
///     provider: Name            location: library       type: instance association
///     namespace: root/cimv2     group: name             unload: never
///     parameters: any text      user: name
///
/// one key per line; empty lines and lines that start with "#" are skipped. The type words
/// property, class and qualifier are accepted and mean nothing to us, and so does the key user.
///
/// Fails: RegistrationError for an unknown key, type or unload value, a key given twice or outside
/// a section, a section without provider, location or type, and two sections of one class and
/// provider that differ in their types.
std::vector<RegistrationSection> readRegistration(std::istream& in, const std::string& fileName);

/// The same for a file. Fails also when it cannot be read.
std::vector<RegistrationSection> readRegistrationFile(const std::string& fileName);

}  // namespace orv::broker
