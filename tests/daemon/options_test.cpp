#include "daemon/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tool/errors.h"

namespace orv::daemon {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A configuration file for one test.
class ConfigurationFile {
 public:
  explicit ConfigurationFile(const std::string& text) {
    const int descriptor = mkstemp(path_);
    if (descriptor < 0) std::abort();
    ::close(descriptor);
    std::ofstream(path_) << text;
  }
  ~ConfigurationFile() { std::remove(path_); }
  ConfigurationFile(const ConfigurationFile&) = delete;
  ConfigurationFile& operator=(const ConfigurationFile&) = delete;
  const char* path() const { return path_; }

 private:
  char path_[32] = "/tmp/orvcimd-test-XXXXXX";
};

struct Parsed {
  std::optional<Options> options;
  int exitStatus = -1;
  std::string said;
};

Parsed parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "orvcimd");
  Parsed parsed;
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  parsed.options =
      parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), parsed.exitStatus);
  parsed.said = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
  return parsed;
}

Parsed parseFile(const std::string& text, std::vector<const char*> more = {}) {
  const ConfigurationFile file(text);
  more.insert(more.begin(), {"--config", file.path()});
  Parsed parsed = parse(more);
  const std::size_t at = parsed.said.find(file.path());
  if (at != std::string::npos) parsed.said.replace(at, std::string(file.path()).size(), "FILE");
  return parsed;
}

TEST(DaemonOptions, WithoutAnyOnlyThisMachineIsServed) {
  const Parsed parsed = parse({});
  ASSERT_TRUE(parsed.options);
  EXPECT_EQ(parsed.options->listen, "127.0.0.1:5988");
  EXPECT_FALSE(parsed.options->pam);
  EXPECT_THAT(parsed.options->destinations, ElementsAre("own", "loopback"));
  EXPECT_TRUE(parsed.options->session.withInterop);
}

TEST(DaemonOptions, EveryOptionMayStandInTheFile) {
  const Parsed parsed = parseFile(
      "# the service\n"
      "listen = \"[::]:5989\"\n"
      "certificate = \"/c.pem\"\nkey = \"/k.pem\"\nclient-ca = \"/ca.pem\"\n"
      "pam = true\n"
      "host-name = [\"a.example\", \"b.example\"]\n"
      "destination = [\"own\", \"192.0.2.0/24\"]\n"
      "destination-ca = \"/l.pem\"\nstate = \"/var/lib/orvcim\"\n"
      "connections = 100\nconnections-per-address = 10\n"
      "namespace = \"root/other\"\nlibrary = \"/lib.so\"\nschema = \"/schema\"\nsimulate = "
      "\"/h\"\n");
  ASSERT_TRUE(parsed.options) << parsed.said;
  const Options& options = *parsed.options;
  EXPECT_EQ(options.listen, "[::]:5989");
  EXPECT_EQ(options.certificate, "/c.pem");
  EXPECT_EQ(options.key, "/k.pem");
  EXPECT_EQ(options.clientAuthority, "/ca.pem");
  EXPECT_TRUE(options.pam);
  EXPECT_THAT(options.hostNames, ElementsAre("a.example", "b.example"));
  EXPECT_THAT(options.destinations, ElementsAre("own", "192.0.2.0/24"));
  EXPECT_EQ(options.listenerAuthorities, "/l.pem");
  EXPECT_EQ(options.state, "/var/lib/orvcim");
  EXPECT_EQ(options.connections, 100U);
  EXPECT_EQ(options.connectionsPerAddress, 10U);
  EXPECT_EQ(options.nameSpace, "root/other");
  EXPECT_THAT(options.session.libraries, ElementsAre("/lib.so"));
  EXPECT_THAT(options.session.schemas, ElementsAre("/schema"));
  EXPECT_EQ(options.session.simulate, "/h");
}

TEST(DaemonOptions, TheCommandLineComesFirst) {
  const Parsed parsed =
      parseFile("listen = \"127.0.0.1:1\"\nconnections = 7\n", {"--listen", "127.0.0.1:2"});
  ASSERT_TRUE(parsed.options) << parsed.said;
  EXPECT_EQ(parsed.options->listen, "127.0.0.1:2");
  EXPECT_EQ(parsed.options->connections, 7U);
}

TEST(DaemonOptions, WhatIsWrongInTheFileIsToldWithItsLine) {
  const std::pair<std::string, std::string> rows[] = {
      {"listen = \"127.0.0.1:0\"\n\nlisten-to = \"x\"\n", "FILE:3: unknown key \"listen-to\""},
      {"pam = true\npam = true\n", "FILE:2: key \"pam\" is given twice"},
      {"# one\n[serve]\nlisten = \"127.0.0.1:0\"\n", "FILE:2: this file has no sections: [serve]"},
      {"config = \"other\"\n", "FILE:1: unknown key \"config\""},
      {"help = true\n", "FILE:1: unknown key \"help\""},
      {"pam\n", "FILE:1: \"pam\" has no value"},
      {"listen=:1\n = 5\n", "FILE:2: there is no key before \"=\""},
  };
  for (const auto& [text, message] : rows) {
    const Parsed parsed = parseFile(text);
    EXPECT_FALSE(parsed.options) << text;
    EXPECT_EQ(parsed.exitStatus, tool::kExitBadInput) << text;
    EXPECT_THAT(parsed.said, HasSubstr(message));
  }
}

TEST(DaemonOptions, ValuesThatMakeNoSenseAreToldWithTheirName) {
  for (const char* text : {"connections = 0\n", "connections = many\n", "pam = maybe\n",
                           "destination = \"everywhere\"\n"}) {
    const Parsed parsed = parseFile(text);
    EXPECT_FALSE(parsed.options) << text;
    EXPECT_EQ(parsed.exitStatus, tool::kExitBadInput) << text;
    EXPECT_THAT(parsed.said, HasSubstr(std::string(text).substr(0, std::string(text).find(' '))));
  }
}

TEST(DaemonOptions, AMissingFileIsAnError) {
  const Parsed parsed = parse({"--config", "/nonexistent/serve.toml"});
  EXPECT_FALSE(parsed.options);
  EXPECT_EQ(parsed.exitStatus, tool::kExitBadInput);
}

TEST(DaemonOptions, CertificateAndKeyBelongTogether) {
  int status = 0;
  const char* alone[] = {"orvcimd", "--certificate", "/c.pem"};
  EXPECT_THROW(parseCommandLine(3, alone, status), tool::BadInput);
  const char* authority[] = {"orvcimd", "--client-ca", "/ca.pem"};
  EXPECT_THROW(parseCommandLine(3, authority, status), tool::BadInput);
}

}  // namespace
}  // namespace orv::daemon
