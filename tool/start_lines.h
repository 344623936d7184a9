#pragma once

namespace orv::tool {

/// Keeps the start lines of provider libraries ("--- _Create_...", one per class that a library
/// serves) off standard error for the rest of the process. Everything else that is written to the C
/// library's `stderr` passes, line by line; std::cerr is not affected. Called once, before other
/// threads start.
void hideStartLines();

}  // namespace orv::tool
