#pragma once

#include <string>

namespace orv::test {

/// The table of docs/metrics.md: every metric, its type, labels, source and meaning.
std::string metricRows();

}  // namespace orv::test
