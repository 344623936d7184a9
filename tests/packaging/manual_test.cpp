// The manual pages, as the formatter and as their readers take them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

using testing::HasSubstr;

const std::string kManual = ORV_SOURCE_DIR "/docs/man/";

class ManualPage : public testing::TestWithParam<const char*> {};

TEST_P(ManualPage, IsFormattedWithoutAWarning) {
  if (!isOnPath("groff")) GTEST_SKIP() << "groff is not installed";
  const Outcome outcome = runFromPath({"groff", "-man", "-Tutf8", "-wmac", "-wsyntax", "-wfont",
                                       "-wbreak", "-wnumber", "-b", "-z", kManual + GetParam()});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_P(ManualPage, HasTheUsualSections) {
  const std::string page = fileText(kManual + GetParam());
  for (const char* section : {".TH ", ".SH NAME", ".SH DESCRIPTION", ".SH SEE ALSO"}) {
    EXPECT_THAT(page, HasSubstr(section));
  }
}

INSTANTIATE_TEST_SUITE_P(Pages, ManualPage,
                         testing::Values("orvcim.1", "liborvprovider.7", "orvcimd.8",
                                         "orvprovider-register.8"));

TEST(Manual, TellsEveryCommandAndOptionOfTheTool) {
  const std::string page = manualText(kManual + "orvcim.1");
  const std::string help = run({ORV_BINARY_DIR "/bin/orvcim", "--help"}).out;
  for (const char* word : {"list",        "names",
                           "instances",   "get",
                           "associators", "associator-names",
                           "references",  "reference-names",
                           "watch",       "health",
                           "metrics",     "check",
                           "serve",       "--format",
                           "--nulls",     "--namespace",
                           "--library",   "--schema",
                           "--simulate",  "--url",
                           "--hosts",     "--password-file",
                           "--ca",        "--insecure",
                           "--timeout",   "--interop-namespace",
                           "--version",   "--help"}) {
    EXPECT_THAT(help, HasSubstr(word));
    EXPECT_THAT(page, HasSubstr(word));
  }
}

TEST(Manual, TellsEveryOptionOfTheDaemon) {
  const std::string page = manualText(kManual + "orvcimd.8");
  const std::string service = fileText(ORV_SOURCE_DIR "/docs/service.md");
  const std::string help = run({ORV_BINARY_DIR "/bin/orvcimd", "--help"}).out;
  for (const std::string option :
       {"listen", "certificate", "key", "client-ca", "pam", "host-name", "connections",
        "connections-per-address", "destination", "destination-ca", "state", "namespace", "library",
        "schema", "simulate"}) {
    EXPECT_THAT(help, HasSubstr("--" + option));
    EXPECT_THAT(page, HasSubstr("--" + option));
    EXPECT_THAT(service, HasSubstr(option));
  }
  for (const char* option : {"--config", "--version", "--help"}) {
    EXPECT_THAT(help, HasSubstr(option));
    EXPECT_THAT(page, HasSubstr(option));
  }
}

}  // namespace
}  // namespace orv::test
