#include "web/page_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

namespace orv::web {
namespace {

using serve::HttpAnswer;
using testing::HasSubstr;
using testing::Not;

const std::string kDirectory = ORV_SOURCE_DIR "/web/page";

HttpAnswer ask(const std::vector<serve::GetRoute>& routes, const std::string& path) {
  const serve::GetRoute* route = serve::routeOf(routes, path);
  if (route == nullptr) return serve::errorAnswer(404);
  serve::GetRequest request;
  request.path = path;
  return route->handler(request);
}

std::string headerOf(const HttpAnswer& answer, const std::string& name) {
  for (const auto& [key, value] : answer.headers) {
    if (key == name) return value;
  }
  return "";
}

TEST(PageFiles, AreServedWithTheirTypes) {
  const auto routes = pageRoutes({kDirectory});
  const std::pair<const char*, const char*> rows[] = {
      {"/", "text/html; charset=utf-8"},
      {"/page.css", "text/css; charset=utf-8"},
      {"/page.js", "text/javascript; charset=utf-8"},
      {"/icon.svg", "image/svg+xml"},
  };
  for (const auto& [path, type] : rows) {
    const HttpAnswer answer = ask(routes, path);
    EXPECT_EQ(answer.status, 200) << path;
    EXPECT_EQ(answer.mediaType, type) << path;
    EXPECT_FALSE(answer.body.empty()) << path;
  }
  EXPECT_THAT(ask(routes, "/").body, HasSubstr("<html lang=\"en\">"));
}

TEST(PageFiles, MayRunTheirOwnScriptsAndNothingElse) {
  const std::string policy =
      headerOf(ask(pageRoutes({kDirectory}), "/"), "Content-Security-Policy");
  for (const char* rule : {"default-src 'none'", "script-src 'self';", "style-src 'self';",
                           "connect-src 'self';", "frame-ancestors 'none'", "base-uri 'none'"}) {
    EXPECT_THAT(policy, HasSubstr(rule));
  }
  EXPECT_THAT(policy, Not(HasSubstr("unsafe")));
}

TEST(PageFiles, HaveNoInlineScriptAndNameNoOtherSite) {
  const auto routes = pageRoutes({kDirectory});
  const std::string page = ask(routes, "/").body;
  EXPECT_FALSE(std::regex_search(page, std::regex("<script(?![^>]* src=\"/)")));
  EXPECT_FALSE(std::regex_search(page, std::regex(" (style|on[a-z]+)=")));
  for (const char* path : {"/", "/page.css", "/page.js"}) {
    EXPECT_THAT(ask(routes, path).body, Not(HasSubstr("://"))) << path;
  }
  EXPECT_THAT(ask(routes, "/page.js").body, Not(HasSubstr("innerHTML")));
}

TEST(PageFiles, OnlyTheseFilesAreServed) {
  const auto routes = pageRoutes({kDirectory});
  for (const char* path : {"/index.html", "/page", "/../page.js", "/page.js/", "//page.js",
                           "/../../serve/http_server.cpp", "/etc/passwd", ""}) {
    EXPECT_EQ(ask(routes, path).status, 404) << path;
  }
}

TEST(PageFiles, WithoutChartsThePageSaysWhatIsMissing) {
  const auto routes = pageRoutes({kDirectory, "/nonexistent/chart.js"});
  const HttpAnswer answer = ask(routes, "/chart.js");
  EXPECT_EQ(answer.status, 404);
  EXPECT_THAT(answer.body, HasSubstr("libjs-chart.js"));
  EXPECT_EQ(ask(routes, "/").status, 200);
}

TEST(PageFiles, WhereThePageIsNotInstalledThereIsNone) { EXPECT_TRUE(pageRoutes({""}).empty()); }

}  // namespace
}  // namespace orv::web
