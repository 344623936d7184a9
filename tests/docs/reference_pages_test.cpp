#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "broker/mof_reader.h"
#include "tests/docs/class_tables.h"
#include "tests/docs/member_tables.h"
#include "tests/docs/metric_rows.h"

// The parts of docs/ that are written from the schema, the tables of members, the table of metrics
// and the example host, between the lines <!-- generated --> and <!-- end -->. After a change,
// `cmake --build build --target renew_docs` writes them anew.
namespace orv::test {
namespace {

const std::string kRoot = ORV_SOURCE_DIR;
const std::string kBegin =
    "<!-- generated; renew with: cmake --build build --target renew_docs -->\n";
const std::string kEnd = "<!-- end -->\n";

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

/// The page with `generated` in the first place for it after `heading`.
std::string withGenerated(const std::string& page, const std::string& generated,
                          const std::string& heading) {
  const std::size_t begin = page.find(kBegin, page.find(heading));
  const std::size_t end = page.find(kEnd, begin);
  if (begin == std::string::npos || end == std::string::npos) return "no place for what is written";
  return page.substr(0, begin + kBegin.size()) + generated + page.substr(end);
}

void expectFresh(const std::string& name, const std::string& generated,
                 const std::string& heading = "") {
  const std::string path = kRoot + "/docs/" + name;
  const std::string page = readFile(path);
  const std::string renewed = withGenerated(page, generated, heading);
  if (std::getenv("ORV_RENEW_DOCS") != nullptr) {
    std::ofstream(path, std::ios::binary) << renewed;
    return;
  }
  EXPECT_EQ(page, renewed) << "renew with: cmake --build build --target renew_docs";
}

std::string ourClassTables() {
  return classTables(broker::loadSchema(kRoot + "/schema"),
                     broker::readRegistrationFile(kRoot + "/schema/orvprovider.reg"));
}

std::string hostClassTables() {
  broker::ClassRepository schema;
  broker::MofReader reader(schema);
  reader.readDirectory(kRoot + "/schema");
  reader.readFile(kRoot + "/schema/host/orvhost.mof");
  return classTables(schema, broker::readRegistrationFile(kRoot + "/schema/host/orvhost.reg"));
}

TEST(ReferencePages, ClassesAreThoseOfTheSchema) { expectFresh("classes.md", ourClassTables()); }

TEST(ReferencePages, ClassesOfHardwareAreThoseOfTheSchema) {
  expectFresh("hardware.md", hostClassTables());
}

TEST(ReferencePages, MembersOfHostFilesAreThoseOfTheRecords) {
  expectFresh("simulated-host.md", memberTables());
}

TEST(ReferencePages, MetricsAreThoseOfTheTable) { expectFresh("metrics.md", metricRows()); }

TEST(ReferencePages, LinesOfTheExampleHostAreThoseOfTheFile) {
  expectFresh("simulated-host.md",
              "\n```json\n" + readFile(kRoot + "/tests/hosts/example.json") + "```\n",
              "\n## Example\n");
}

// What the tests above compare with is not empty, and holds each kind of thing.

TEST(ReferencePages, AClassHasItsTypesKeysUnitsMeaningsAndSources) {
  const std::string tables = ourClassTables();
  for (const char* row :
       {"| [Orvane_CIMHeartbeat](#orvane_cimheartbeat) | indication | Orvane_CIMHeartbeat |",
        "| SystemName | string | yes |  | Name of the host's computer system. | `uname \\| "
        "nodename` |",
        "| Stats | Orvane_EPStatisticalInformation REF | yes |  | The counters. |  |",
        "| rxUsecsIrq | uint32 |  | second * 10^-6 | As rxUsecs, while an interrupt is being "
        "serviced. | `ethtool GCOALESCE \\| rx_coalesce_usecs_irq` |",
        "| bytesRx | uint64 |  | byte | Bytes received. | `netlink IFLA_STATS64 \\| rx_bytes` |"}) {
    EXPECT_THAT(tables, testing::HasSubstr(std::string("\n") + row + "\n"));
  }
}

TEST(ReferencePages, AMetricHasItsTypeLabelsSourceUnitAndMeaning) {
  const std::string rows = metricRows();
  for (const char* row :
       {"| `orvane_port_receive_bytes_total` | counter | `device` | `bytesRx` | bytes | Bytes "
        "received. |",
        "| `orvane_ipv4_address_info` | gauge | `device`, `address`, `netmask` | `SubnetMask` | 1 "
        "| "
        "The first IPv4 address of a kernel network interface. |",
        "### Orvane_LatchedHealthState"}) {
    EXPECT_THAT(rows, testing::HasSubstr(std::string("\n") + row + "\n"));
  }
}

TEST(ReferencePages, AClassOfHardwareHasThemToo) {
  EXPECT_THAT(
      hostClassTables(),
      testing::HasSubstr("\n| AvailableSpare | uint16 |  | percent | NVMe: spare blocks that "
                         "are left. | `NVMe SMART log \\| available spare` |\n"));
}

TEST(ReferencePages, AMemberHasItsTypeDefaultAndMeaning) {
  const std::string tables = memberTables();
  for (const char* row :
       {"| `ports` | array: object, or fault | `[]` | physical ports, in this order; `GetPnics` "
        "and "
        "`GetPnicByName` throw the fault |",
        "### `ports[].linkSettings`", "| `RxCRCErrors` | integer, 64 bits | `0` |  |",
        "| `netmask` | dotted quad, or `null` | `\"0.0.0.0\"` | `null`: reading it (node 240) "
        "fails |",
        "### `processors.packages[].cores[]`",
        "| `vendor` | string | `\"GenuineIntel\"` | twelve characters |",
        "| `errno` | integer, 32 bits with sign | `5` | errno value of the status |"}) {
    EXPECT_THAT(tables, testing::HasSubstr(std::string("\n") + row + "\n"));
  }
}

}  // namespace
}  // namespace orv::test
