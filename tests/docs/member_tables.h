#pragma once

#include <string>

namespace orv::test {

/// The members of a host file as Markdown: a section for the file and for each record in it, from
/// the facts that the records list. Type and default are those of the C++ members.
std::string memberTables();

}  // namespace orv::test
