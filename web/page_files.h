#pragma once

#include <string>
#include <vector>

#include "serve/http_answer.h"

namespace orv::web {

/// Where the page's files are.
struct PagePlaces {
  std::string directory;  ///< of our own files; empty: there is no page
  /// Chart.js, of the system's package; where it is not there, the page shows no plots.
  std::string chart = "/usr/share/javascript/chart.js/chart.min.js";
};

/// `/` and the files that it needs, read when they are asked for. Nothing of a request becomes the
/// name of a file: there is a route for each. Their Content-Security-Policy lets the page run these
/// scripts and ask this service, and nothing else.
std::vector<serve::GetRoute> pageRoutes(const PagePlaces& places);

}  // namespace orv::web
