#pragma once

namespace orv::tool {

/// Keeps the start lines of provider libraries ("--- _Create_...", one for each class that a
/// library serves) off this process's standard error, for the rest of its life. What else a library
/// writes there passes, line by line; the tool's own errors go through std::cerr and are not
/// touched.
void hideStartLines();

}  // namespace orv::tool
