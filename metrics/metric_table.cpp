#include "metrics/metric_table.h"

namespace orv::metrics {
namespace {

constexpr prometheus::MetricType kGauge = prometheus::MetricType::Gauge;
constexpr prometheus::MetricType kCounter = prometheus::MetricType::Counter;

/// A metric whose labels carry the information.
MetricRow info(const char* name, const char* help, std::vector<LabelRow> labels) {
  return {name, kGauge, nullptr, nullptr, help, std::move(labels)};
}

MetricRow gauge(const char* name, const char* property, const Conversion& conversion,
                const char* help) {
  return {name, kGauge, property, &conversion, help, {}};
}

MetricRow counter(const char* name, const char* property, const Conversion& conversion,
                  const char* help) {
  return {name, kCounter, property, &conversion, help, {}};
}

const ClassRows kPorts = {
    "Orvane_EthernetPort",
    {{"device", "DeviceID"}},
    {info("orvane_port_info", "An Ethernet port of the host.",
          {{"address", "PermanentAddress", &macText}}),
     gauge("orvane_port_enabled", "EnabledState", kPortEnabled,
           "Whether the port is administratively up."),
     gauge("orvane_port_up", "EnabledState", kPortUp, "Whether the port is up and has a link."),
     gauge("orvane_port_speed_bytes_per_second", "Speed", kBitRate, "Speed of the link."),
     gauge("orvane_port_mtu_bytes", "ActiveMaximumTransmissionUnit", kBytes, "MTU of the port."),
     gauge("orvane_port_full_duplex", "FullDuplex", kFlag, "Whether the link runs full duplex."),
     gauge("orvane_port_autonegotiation", "AutoSense", kFlag,
           "Whether the port negotiates speed and duplex with its partner.")}};

const ClassRows kDrivers = {"Orvane_EPDriverSoftwareIdentity",
                            {{"device", "InstanceID", &lastPartText}},
                            {info("orvane_port_driver_info", "The driver of an Ethernet port.",
                                  {{"driver", "VersionString"}})}};

const ClassRows kFirmware = {"Orvane_EPFirmwareSoftwareIdentity",
                             {{"device", "InstanceID", &lastPartText}},
                             {info("orvane_port_firmware_info", "The firmware of an Ethernet port.",
                                   {{"firmware", "VersionString"}})}};

const ClassRows kStatistics = {
    "Orvane_EPStatisticalInformation",
    {{"device", "InstanceID", &lastPartText}},
    {
        counter("orvane_port_receive_packets_total", "packetsRx", kAsIs, "Packets received."),
        counter("orvane_port_receive_bytes_total", "bytesRx", kBytes, "Bytes received."),
        counter("orvane_port_receive_errors_total", "errorsRx", kAsIs,
                "Packets received with an error."),
        counter("orvane_port_receive_dropped_packets_total", "droppedRx", kAsIs,
                "Received packets that were dropped."),
        counter("orvane_port_receive_length_errors_total", "RxLengthErrors", kAsIs,
                "Packets received with a wrong length."),
        counter("orvane_port_receive_over_errors_total", "RxOverErrors", kAsIs,
                "Packets lost because the receiver's buffer was full."),
        counter("orvane_port_receive_crc_errors_total", "RxCRCErrors", kAsIs,
                "Packets received with a wrong checksum."),
        counter("orvane_port_receive_frame_errors_total", "RxFrameErrors", kAsIs,
                "Packets received with a frame alignment error."),
        counter("orvane_port_receive_fifo_errors_total", "RxFIFOErrors", kAsIs,
                "Packets lost because the receive queue overran."),
        counter("orvane_port_receive_missed_errors_total", "RxMissedErrors", kAsIs,
                "Packets that the receiver missed."),
        counter("orvane_port_transmit_packets_total", "packetsTx", kAsIs, "Packets sent."),
        counter("orvane_port_transmit_bytes_total", "bytesTx", kBytes, "Bytes sent."),
        counter("orvane_port_transmit_errors_total", "errorsTx", kAsIs,
                "Packets that could not be sent."),
        counter("orvane_port_transmit_dropped_packets_total", "droppedTx", kAsIs,
                "Packets dropped instead of sent."),
        counter("orvane_port_transmit_aborted_errors_total", "TxAbortedErrors", kAsIs,
                "Transmissions that were aborted."),
        counter("orvane_port_transmit_fifo_errors_total", "TxFIFOErrors", kAsIs,
                "Transmissions that failed because the send queue ran empty."),
        counter("orvane_port_transmit_carrier_errors_total", "TxCarrierErrors", kAsIs,
                "Transmissions that failed because the carrier was lost."),
        counter("orvane_port_transmit_heartbeat_errors_total", "TxHeartbeatErrors", kAsIs,
                "Failures of the transceiver's heartbeat test."),
        counter("orvane_port_transmit_window_errors_total", "TxWindowErrors", kAsIs,
                "Transmissions that failed because of a late collision."),
    }};

const ClassRows kCoalescing = {
    "Orvane_EPCoalesceSettingData",
    {{"device", "InstanceID", &lastPartText}},
    {
        gauge("orvane_port_coalesce_receive_adaptive", "adaptiveRX", kFlag,
              "Whether receive coalescing adapts to the load."),
        gauge("orvane_port_coalesce_transmit_adaptive", "adaptiveTX", kFlag,
              "Whether send coalescing adapts to the load."),
        gauge("orvane_port_coalesce_statistics_block_seconds", "statsBlockUsecs", kMicroseconds,
              "How often the device's statistics block is updated."),
        gauge("orvane_port_coalesce_sample_interval_seconds", "sampleInterval", kSeconds,
              "How often the packet rate is sampled."),
        gauge("orvane_port_coalesce_packet_rate_low", "pktRateLow", kPacketRate,
              "Packet rate below which the low settings apply."),
        gauge("orvane_port_coalesce_packet_rate_high", "pktRateHigh", kPacketRate,
              "Packet rate above which the high settings apply."),
        gauge("orvane_port_coalesce_receive_delay_seconds", "rxUsecs", kMicroseconds,
              "Time from a received frame to its interrupt."),
        gauge("orvane_port_coalesce_receive_frames", "rxFrames", kAsIs,
              "Received frames per interrupt."),
        gauge("orvane_port_coalesce_receive_irq_delay_seconds", "rxUsecsIrq", kMicroseconds,
              "Time from a received frame to its interrupt, while an interrupt is being serviced."),
        gauge("orvane_port_coalesce_receive_irq_frames", "rxFramesIrq", kAsIs,
              "Received frames per interrupt, while an interrupt is being serviced."),
        gauge("orvane_port_coalesce_receive_low_delay_seconds", "rxUsecsLow", kMicroseconds,
              "Time from a received frame to its interrupt, at a low packet rate."),
        gauge("orvane_port_coalesce_receive_low_frames", "rxFrameLow", kAsIs,
              "Received frames per interrupt, at a low packet rate."),
        gauge("orvane_port_coalesce_receive_high_delay_seconds", "rxUsecsHigh", kMicroseconds,
              "Time from a received frame to its interrupt, at a high packet rate."),
        gauge("orvane_port_coalesce_receive_high_frames", "rxFrameHigh", kAsIs,
              "Received frames per interrupt, at a high packet rate."),
        gauge("orvane_port_coalesce_transmit_delay_seconds", "txUsecs", kMicroseconds,
              "Time from a sent frame to its interrupt."),
        gauge("orvane_port_coalesce_transmit_frames", "txFrames", kAsIs,
              "Sent frames per interrupt."),
        gauge("orvane_port_coalesce_transmit_irq_delay_seconds", "txUsecsIrq", kMicroseconds,
              "Time from a sent frame to its interrupt, while an interrupt is being serviced."),
        gauge("orvane_port_coalesce_transmit_irq_frames", "txFramesIrq", kAsIs,
              "Sent frames per interrupt, while an interrupt is being serviced."),
        gauge("orvane_port_coalesce_transmit_low_delay_seconds", "txUsecsLow", kMicroseconds,
              "Time from a sent frame to its interrupt, at a low packet rate."),
        gauge("orvane_port_coalesce_transmit_low_frames", "txFrameLow", kAsIs,
              "Sent frames per interrupt, at a low packet rate."),
        gauge("orvane_port_coalesce_transmit_high_delay_seconds", "txUsecsHigh", kMicroseconds,
              "Time from a sent frame to its interrupt, at a high packet rate."),
        gauge("orvane_port_coalesce_transmit_high_frames", "txFrameHigh", kAsIs,
              "Sent frames per interrupt, at a high packet rate."),
    }};

const ClassRows kIpv4 = {
    "Orvane_KernelIPv4ProtocolEndpoint",
    {{"device", "Name"}, {"address", "IPv4Address"}},
    {info("orvane_ipv4_address_info", "The first IPv4 address of a kernel network interface.",
          {{"netmask", "SubnetMask"}})}};

const ClassRows kIpv6 = {
    "Orvane_KernelIPv6ProtocolEndpoint",
    {{"device", "Name"}, {"address", "IPv6Address"}},
    {info("orvane_ipv6_address_info", "An IPv6 address of a kernel network interface.",
          {{"prefix_length", "PrefixLength"}})}};

const ClassRows kProcessors = {
    "Orvane_Processor",
    {{"processor", "DeviceID"}},
    {info("orvane_processor_info", "A processor package.",
          {{"vendor", "Vendor", &vendorText}, {"model", "ModelName"}, {"stepping", "Stepping"}}),
     gauge("orvane_processor_cores", "NumberOfEnabledCores", kAsIs, "Cores of the package."),
     gauge("orvane_processor_running", "CPUStatus", kCpuRunning,
           "Whether a core of the package is running.")}};

const ClassRows kImages = {
    "Orvane_HypervisorSoftwareIdentity",
    {{"bank", "InstanceID", &bankText}},
    {info("orvane_image_info", "An image of the hypervisor: the running or the alternate one.",
          {{"product", "Name"}, {"version", "VersionString"}}),
     gauge("orvane_image_release_time_seconds", "ReleaseDate", kTime, "When it was released."),
     gauge("orvane_boot_time_seconds", "LastStartTime", kTime, "When the host was started.")}};

const ClassRows kRollup = {
    "Orvane_RollupHealthState",
    {},
    {gauge("orvane_health_rollup_state", "HealthState", kHealth,
           "The worst health of all monitored elements at the last poll: 0 unknown, 5 OK, 10 "
           "degraded, 15 minor, 20 major, 25 critical failure, 30 not recoverable.")}};

const ClassRows kLatched = {
    "Orvane_LatchedHealthState",
    {{"event", "EventId"}, {"class", "LatchedClassName"}},
    {gauge("orvane_latched_health_state", "HealthState", kHealth,
           "The worst health in which an element was ever seen, for elements that were ever not "
           "OK; numbered as orvane_health_rollup_state."),
     gauge("orvane_latched_health_timestamp_seconds", "Timestamp", kTime,
           "When that health was first seen.")},
    "Orvane_LatchedHealthAssociation"};

}  // namespace

const std::vector<ClassRows>& metricTable() {
  static const auto* const table =
      new std::vector<ClassRows>{kPorts, kDrivers,    kFirmware, kStatistics, kCoalescing, kIpv4,
                                 kIpv6,  kProcessors, kImages,   kRollup,     kLatched};
  return *table;
}

const MetricRow kClassSuccess = {
    "orvane_class_success", kGauge, nullptr, nullptr, "Whether the host answered for a class.", {}};

const MetricRow kHeartbeatTime = {
    "orvane_heartbeat_timestamp_seconds",         kGauge, "IndicationTime", &kTime,
    "When the last heartbeat of this host came.", {}};

}  // namespace orv::metrics
