#pragma once

#include <string>
#include <vector>

#include "serve/http_answer.h"

namespace orv::web {

/// Where the page's files are.
struct PagePlaces {
  std::string directory;  ///< of our own files; empty: there is no page
  /// Chart.js from the system's package; without the file, the page shows no plots.
  std::string chart = "/usr/share/javascript/chart.js/chart.min.js";
};

/// `/` and the files that it needs, one route per file, so that no part of a request becomes a file
/// name. Files are read at each request. Their Content-Security-Policy lets the page run these
/// scripts and send requests to this service, and nothing else.
std::vector<serve::GetRoute> pageRoutes(const PagePlaces& places);

}  // namespace orv::web
