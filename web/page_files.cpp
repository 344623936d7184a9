#include "web/page_files.h"

#include <fstream>
#include <iterator>
#include <utility>

namespace orv::web {
namespace {

using serve::HttpAnswer;

struct File {
  const char* path;
  const char* name;  ///< below the page's directory
  const char* mediaType;
};

constexpr File kFiles[] = {
    {"/", "index.html", "text/html; charset=utf-8"},
    {"/page.css", "page.css", "text/css; charset=utf-8"},
    {"/page.js", "page.js", "text/javascript; charset=utf-8"},
    {"/icon.svg", "icon.svg", "image/svg+xml"},
};

constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

HttpAnswer answerWith(const std::string& file, const char* mediaType, const char* missing) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return serve::errorAnswer(404, missing);
  return {200,
          std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()),
          mediaType,
          {{"Cache-Control", "no-cache"}, {"Content-Security-Policy", kPolicy}}};
}

serve::GetRoute route(const char* path, std::string file, const char* mediaType,
                      const char* missing) {
  return {path, [=, file = std::move(file)](const serve::GetRequest&) {
            return answerWith(file, mediaType, missing);
          }};
}

}  // namespace

std::vector<serve::GetRoute> pageRoutes(const PagePlaces& places) {
  if (places.directory.empty()) return {};
  std::vector<serve::GetRoute> routes;
  for (const File& file : kFiles) {
    routes.push_back(route(file.path, places.directory + "/" + file.name, file.mediaType,
                           "this file of the page is not installed"));
  }
  routes.push_back(route("/chart.js", places.chart, "text/javascript; charset=utf-8",
                         "plots need the package libjs-chart.js on this host"));
  return routes;
}

}  // namespace orv::web
