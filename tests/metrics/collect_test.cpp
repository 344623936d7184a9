#include "metrics/collect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "tests/metrics/scripted_host.h"

namespace orv::test {
namespace {

using metrics::Metrics;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) all.push_back(line);
  return all;
}

/// The samples of a text, without the lines about their families.
std::vector<std::string> samples(const std::string& text) {
  std::vector<std::string> all = lines(text);
  all.erase(std::remove_if(all.begin(), all.end(),
                           [](const std::string& line) { return line.front() == '#'; }),
            all.end());
  return all;
}

std::string scrape(ScriptedHost& host) {
  return metrics::textOf(metrics::collect(host.ask(), "root/cimv2").families);
}

broker::ObjectPath fan() {
  broker::ObjectPath path;
  path.nameSpace = "root/cimv2";
  path.className = "CIM_Sensor";
  path.keys = {{"SystemCreationClassName", text("OMC_UnitaryComputerSystem")},
               {"SystemName", text("host-7")},
               {"CreationClassName", text("CIM_Sensor")},
               {"DeviceID", text("fan-2")}};
  return path;
}

/// One instance of each class, each property with a value of its own.
ScriptedHost fullHost() {
  ScriptedHost host;
  const auto add = [&](const std::string& className, std::vector<broker::Property> properties) {
    host.instances[className].push_back(instance(className, std::move(properties)));
  };
  add("Orvane_EthernetPort", {{"DeviceID", text("eth0")},
                              {"PermanentAddress", text("021A2BABCDEF")},
                              {"EnabledState", number(6, CMPI_uint16)},
                              {"Speed", number(1'000'000'000)},
                              {"ActiveMaximumTransmissionUnit", number(1500)},
                              {"FullDuplex", flag(true)},
                              {"AutoSense", number(1, CMPI_uint16)}});
  add("Orvane_EPDriverSoftwareIdentity",
      {{"InstanceID", text("Orvane:Orvane_EPDriverSoftwareIdentity:eth0")},
       {"VersionString", text("e5 driver 2.1")}});
  add("Orvane_EPFirmwareSoftwareIdentity",
      {{"InstanceID", text("Orvane:Orvane_EPFirmwareSoftwareIdentity:eth0")},
       {"VersionString", text("e5 device firmware 0x8")}});
  add("Orvane_EPStatisticalInformation",
      {
          {"InstanceID", text("Orvane:Orvane_EPStatisticalInformation:eth0")},
          {"packetsRx", number(101)},
          {"bytesRx", number(102)},
          {"errorsRx", number(103)},
          {"droppedRx", number(104)},
          {"RxLengthErrors", number(105)},
          {"RxOverErrors", number(106)},
          {"RxCRCErrors", number(107)},
          {"RxFrameErrors", number(108)},
          {"RxFIFOErrors", number(109)},
          {"RxMissedErrors", number(110)},
          {"packetsTx", number(111)},
          {"bytesTx", number(112)},
          {"errorsTx", number(113)},
          {"droppedTx", number(114)},
          {"TxAbortedErrors", number(115)},
          {"TxFIFOErrors", number(116)},
          {"TxCarrierErrors", number(117)},
          {"TxHeartbeatErrors", number(118)},
          {"TxWindowErrors", number(119)},
      });
  add("Orvane_EPCoalesceSettingData",
      {
          {"InstanceID", text("Orvane:Orvane_EPCoalesceSettingData:eth0")},
          {"adaptiveRX", flag(true)},
          {"adaptiveTX", flag(false)},
          {"statsBlockUsecs", number(203, CMPI_uint32)},
          {"sampleInterval", number(204, CMPI_uint32)},
          {"pktRateLow", number(205, CMPI_uint32)},
          {"pktRateHigh", number(206, CMPI_uint32)},
          {"rxUsecs", number(207, CMPI_uint32)},
          {"rxFrames", number(208, CMPI_uint32)},
          {"rxUsecsIrq", number(209, CMPI_uint32)},
          {"rxFramesIrq", number(210, CMPI_uint32)},
          {"rxUsecsLow", number(211, CMPI_uint32)},
          {"rxFrameLow", number(212, CMPI_uint32)},
          {"rxUsecsHigh", number(213, CMPI_uint32)},
          {"rxFrameHigh", number(214, CMPI_uint32)},
          {"txUsecs", number(215, CMPI_uint32)},
          {"txFrames", number(216, CMPI_uint32)},
          {"txUsecsIrq", number(217, CMPI_uint32)},
          {"txFramesIrq", number(218, CMPI_uint32)},
          {"txUsecsLow", number(219, CMPI_uint32)},
          {"txFrameLow", number(220, CMPI_uint32)},
          {"txUsecsHigh", number(221, CMPI_uint32)},
          {"txFrameHigh", number(222, CMPI_uint32)},
      });
  add("Orvane_KernelIPv4ProtocolEndpoint", {{"Name", text("hk0")},
                                            {"IPv4Address", text("10.0.0.7")},
                                            {"SubnetMask", text("255.255.255.0")}});
  add("Orvane_KernelIPv6ProtocolEndpoint", {{"Name", text("hk0")},
                                            {"IPv6Address", text("fe80::1")},
                                            {"PrefixLength", number(64, CMPI_uint8)}});
  add("Orvane_Processor", {{"DeviceID", text("cpu-0")},
                           {"Vendor", number(2, CMPI_uint16)},
                           {"ModelName", text("Example CPU")},
                           {"Stepping", text("7")},
                           {"NumberOfEnabledCores", number(12, CMPI_uint16)},
                           {"CPUStatus", number(1, CMPI_uint16)}});
  add("Orvane_HypervisorSoftwareIdentity", {{"InstanceID", text("Orvane Ondi 5.1.0 build-1234")},
                                            {"Name", text("Orvane Ondi")},
                                            {"VersionString", text("5.1.0 build-1234")},
                                            {"ReleaseDate", time(1412380800)},
                                            {"LastStartTime", time(1600000000)}});
  add("Orvane_HypervisorSoftwareIdentity",
      {{"InstanceID", text("Alt Boot Bank: Orvane Ondi 5.0.0 build-1")},
       {"Name", text("Orvane Ondi Alternate Boot Bank")},
       {"VersionString", text("5.0.0 build-1")},
       {"LastStartTime", nothing(CMPI_dateTime)}});
  add("Orvane_RollupHealthState",
      {{"Name", text("Orvane Rollup Health State")}, {"HealthState", number(10, CMPI_uint16)}});
  add("Orvane_LatchedHealthState", {{"EventId", text("3")},
                                    {"LatchedClassName", text("CIM_Sensor")},
                                    {"HealthState", number(20, CMPI_uint16)},
                                    {"Timestamp", time(1700000000)}});
  host.elements["3"] = fan();
  return host;
}

// What each row of the table makes of fullHost.
const char kFullText[] = R"(
orvane_port_info{device="eth0",address="02:1a:2b:ab:cd:ef"} 1
orvane_port_enabled{device="eth0"} 1
orvane_port_up{device="eth0"} 0
orvane_port_speed_bytes_per_second{device="eth0"} 125000000
orvane_port_mtu_bytes{device="eth0"} 1500
orvane_port_full_duplex{device="eth0"} 1
orvane_port_autonegotiation{device="eth0"} 1
orvane_port_driver_info{device="eth0",driver="e5 driver 2.1"} 1
orvane_port_firmware_info{device="eth0",firmware="e5 device firmware 0x8"} 1
orvane_port_receive_packets_total{device="eth0"} 101
orvane_port_receive_bytes_total{device="eth0"} 102
orvane_port_receive_errors_total{device="eth0"} 103
orvane_port_receive_dropped_packets_total{device="eth0"} 104
orvane_port_receive_length_errors_total{device="eth0"} 105
orvane_port_receive_over_errors_total{device="eth0"} 106
orvane_port_receive_crc_errors_total{device="eth0"} 107
orvane_port_receive_frame_errors_total{device="eth0"} 108
orvane_port_receive_fifo_errors_total{device="eth0"} 109
orvane_port_receive_missed_errors_total{device="eth0"} 110
orvane_port_transmit_packets_total{device="eth0"} 111
orvane_port_transmit_bytes_total{device="eth0"} 112
orvane_port_transmit_errors_total{device="eth0"} 113
orvane_port_transmit_dropped_packets_total{device="eth0"} 114
orvane_port_transmit_aborted_errors_total{device="eth0"} 115
orvane_port_transmit_fifo_errors_total{device="eth0"} 116
orvane_port_transmit_carrier_errors_total{device="eth0"} 117
orvane_port_transmit_heartbeat_errors_total{device="eth0"} 118
orvane_port_transmit_window_errors_total{device="eth0"} 119
orvane_port_coalesce_receive_adaptive{device="eth0"} 1
orvane_port_coalesce_transmit_adaptive{device="eth0"} 0
orvane_port_coalesce_statistics_block_seconds{device="eth0"} 0.000203
orvane_port_coalesce_sample_interval_seconds{device="eth0"} 204
orvane_port_coalesce_packet_rate_low{device="eth0"} 205
orvane_port_coalesce_packet_rate_high{device="eth0"} 206
orvane_port_coalesce_receive_delay_seconds{device="eth0"} 0.000207
orvane_port_coalesce_receive_frames{device="eth0"} 208
orvane_port_coalesce_receive_irq_delay_seconds{device="eth0"} 0.000209
orvane_port_coalesce_receive_irq_frames{device="eth0"} 210
orvane_port_coalesce_receive_low_delay_seconds{device="eth0"} 0.000211
orvane_port_coalesce_receive_low_frames{device="eth0"} 212
orvane_port_coalesce_receive_high_delay_seconds{device="eth0"} 0.000213
orvane_port_coalesce_receive_high_frames{device="eth0"} 214
orvane_port_coalesce_transmit_delay_seconds{device="eth0"} 0.000215
orvane_port_coalesce_transmit_frames{device="eth0"} 216
orvane_port_coalesce_transmit_irq_delay_seconds{device="eth0"} 0.000217
orvane_port_coalesce_transmit_irq_frames{device="eth0"} 218
orvane_port_coalesce_transmit_low_delay_seconds{device="eth0"} 0.000219
orvane_port_coalesce_transmit_low_frames{device="eth0"} 220
orvane_port_coalesce_transmit_high_delay_seconds{device="eth0"} 0.000221
orvane_port_coalesce_transmit_high_frames{device="eth0"} 222
orvane_ipv4_address_info{device="hk0",address="10.0.0.7",netmask="255.255.255.0"} 1
orvane_ipv6_address_info{device="hk0",address="fe80::1",prefix_length="64"} 1
orvane_processor_info{processor="cpu-0",vendor="GenuineIntel",model="Example CPU",stepping="7"} 1
orvane_processor_cores{processor="cpu-0"} 12
orvane_processor_running{processor="cpu-0"} 1
orvane_image_info{bank="running",product="Orvane Ondi",version="5.1.0 build-1234"} 1
orvane_image_info{bank="alternate",product="Orvane Ondi Alternate Boot Bank",version="5.0.0 build-1"} 1
orvane_image_release_time_seconds{bank="running"} 1412380800
orvane_boot_time_seconds{bank="running"} 1600000000
orvane_health_rollup_state 10
orvane_latched_health_state{event="3",class="CIM_Sensor",element="fan-2"} 20
orvane_latched_health_timestamp_seconds{event="3",class="CIM_Sensor",element="fan-2"} 1700000000
)";

TEST(Metrics, EveryRowOfTheTableHasItsSample) {
  ScriptedHost host = fullHost();
  std::vector<std::string> expected = lines(kFullText + 1);
  const std::size_t own = expected.size();
  for (const metrics::ClassRows& rows : metrics::metricTable()) {
    expected.push_back("orvane_class_success{class=\"" + std::string(rows.className) + "\"} 1");
  }
  EXPECT_EQ(samples(scrape(host)), expected);
  std::size_t rowsInAll = 0;
  for (const metrics::ClassRows& rows : metrics::metricTable()) rowsInAll += rows.metrics.size();
  EXPECT_EQ(own, rowsInAll + 1) << "a sample of each row, and the second image";
}

TEST(Metrics, EveryFamilyHasItsTypeAndHelp) {
  ScriptedHost host = fullHost();
  const std::vector<std::string> text = lines(scrape(host));
  EXPECT_THAT(text, Contains("# TYPE orvane_port_receive_bytes_total counter"));
  EXPECT_THAT(text, Contains("# HELP orvane_port_receive_bytes_total Bytes received."));
  EXPECT_THAT(text, Contains("# TYPE orvane_port_up gauge"));
  for (const metrics::ClassRows& rows : metrics::metricTable()) {
    for (const metrics::MetricRow& row : rows.metrics) {
      const std::string name = row.name;
      const bool total = name.size() > 6 && name.substr(name.size() - 6) == "_total";
      EXPECT_EQ(row.type == prometheus::MetricType::Counter, total) << name;
      EXPECT_THAT(std::string(row.help), testing::EndsWith(".")) << name;
    }
  }
}

TEST(Metrics, ValuesThatAreNullHaveNoSample) {
  ScriptedHost host;
  host.instances["Orvane_EPStatisticalInformation"] = {
      instance("Orvane_EPStatisticalInformation",
               {{"InstanceID", text("Orvane:Orvane_EPStatisticalInformation:nic1")},
                {"packetsTx", nothing()},
                {"bytesTx", number(5)}})};
  const std::string text = scrape(host);
  EXPECT_THAT(samples(text), Contains("orvane_port_transmit_bytes_total{device=\"nic1\"} 5"));
  EXPECT_THAT(text, Not(HasSubstr("packets"))) << "not even the lines about its family";
}

TEST(Metrics, OddNamesStayInTheirLabel) {
  ScriptedHost host;
  for (const char* name : {"a\"b", "a\\b", "a\nb", "a\xFF", "a}b 1"}) {
    host.instances["Orvane_EthernetPort"].push_back(
        instance("Orvane_EthernetPort",
                 {{"DeviceID", text(name)}, {"EnabledState", number(2, CMPI_uint16)}}));
  }
  std::vector<std::string> up;
  for (const std::string& sample : samples(scrape(host))) {
    if (sample.rfind("orvane_port_up", 0) == 0) up.push_back(sample);
  }
  EXPECT_THAT(
      up, ElementsAre(R"(orvane_port_up{device="a\"b"} 1)", R"(orvane_port_up{device="a\\b"} 1)",
                      R"(orvane_port_up{device="a\nb"} 1)",
                      "orvane_port_up{device=\"a\xEF\xBF\xBD\"} 1",
                      R"(orvane_port_up{device="a}b 1"} 1)"));
}

TEST(Metrics, AHostWithNothingHasOnlyItsAnswers) {
  ScriptedHost host;
  for (const std::string& sample : samples(scrape(host))) {
    EXPECT_THAT(sample, testing::StartsWith("orvane_class_success{"));
  }
  EXPECT_EQ(samples(scrape(host)).size(), metrics::metricTable().size());
}

TEST(Metrics, TheSameSeriesIsThereOnce) {
  ScriptedHost host;
  for (const std::uint64_t state : {2, 3}) {
    host.instances["Orvane_EthernetPort"].push_back(
        instance("Orvane_EthernetPort",
                 {{"DeviceID", text("eth0")}, {"EnabledState", number(state, CMPI_uint16)}}));
  }
  const std::string text = scrape(host);
  EXPECT_THAT(text, HasSubstr("orvane_port_up{device=\"eth0\"} 1\n"));
  EXPECT_THAT(text, Not(HasSubstr("orvane_port_up{device=\"eth0\"} 0\n")));
}

TEST(Metrics, AClassThatFailsIsToldAndTheOthersAreThere) {
  ScriptedHost host = fullHost();
  host.failures["Orvane_EthernetPort"] = CMPI_RC_ERR_FAILED;
  const Metrics found = metrics::collect(host.ask(), "root/cimv2");
  ASSERT_EQ(found.failures.size(), 1u);
  EXPECT_EQ(found.failures.front().className, "Orvane_EthernetPort");
  EXPECT_EQ(found.failures.front().rc, CMPI_RC_ERR_FAILED);
  const std::string text = metrics::textOf(found.families);
  EXPECT_THAT(text, HasSubstr("orvane_class_success{class=\"Orvane_EthernetPort\"} 0\n"));
  EXPECT_THAT(text, HasSubstr("orvane_class_success{class=\"Orvane_Processor\"} 1\n"));
  EXPECT_THAT(text, Not(HasSubstr("orvane_port_up")));
  EXPECT_THAT(text, HasSubstr("orvane_processor_cores"));
}

TEST(Metrics, ARecordWithoutItsElementStaysTellable) {
  ScriptedHost host = fullHost();
  host.elements.clear();
  EXPECT_THAT(scrape(host),
              HasSubstr("orvane_latched_health_state{event=\"3\",class=\"CIM_Sensor\"} 20\n"));
}

TEST(Metrics, AnElementOfSeveralKeysIsNamedByAll) {
  ScriptedHost host = fullHost();
  host.elements["3"].keys = {{"CreationClassName", text("X")}, {"A", text("a")}, {"B", number(5)}};
  EXPECT_THAT(scrape(host), HasSubstr("element=\"A=a,B=5\""));
}

TEST(Metrics, OnlyWhatIsShownIsAskedFor) {
  ScriptedHost host;
  metrics::collect(host.ask(), "root/other");
  ASSERT_EQ(host.requests.size(), metrics::metricTable().size());
  EXPECT_EQ(host.requests.front().path.nameSpace, "root/other");
  ASSERT_TRUE(host.requests.front().properties);
  EXPECT_THAT(*host.requests.front().properties, Contains("Speed"));
  EXPECT_THAT(*host.requests.front().properties, Not(Contains("WOLOptions")));
}

TEST(Metrics, WhatTheHostThrowsPassesThrough) {
  const metrics::Ask broken = [](const broker::Request&) -> broker::Response {
    throw std::runtime_error("no route");
  };
  EXPECT_THROW(metrics::collect(broken, "root/cimv2"), std::runtime_error);
}

}  // namespace
}  // namespace orv::test
