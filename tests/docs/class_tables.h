#pragma once

#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/registration.h"

namespace orv::test {

/// The registered classes as Markdown: a table of them, then one section for each with the
/// properties that the class itself declares. Description is the meaning, PUnit the unit,
/// MappingStrings the source.
std::string classTables(const broker::ClassRepository& schema,
                        const std::vector<broker::RegistrationSection>& sections);

}  // namespace orv::test
