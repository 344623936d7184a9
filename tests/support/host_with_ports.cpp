#include "tests/support/host_with_ports.h"

#include <array>
#include <cstdio>

namespace {

std::string macOf(std::size_t number) {
  std::array<char, 18> text{};
  std::snprintf(text.data(), text.size(), "02:00:00:00:%02x:%02x",
                static_cast<unsigned>(number >> 8U & 0xffU), static_cast<unsigned>(number & 0xffU));
  return text.data();
}

constexpr const char* kSamePart = R"(,
     "duplex": 1, "linkUp": true, "enabled": true, "linkSpeed": 10000, "mtu": 9000,
     "capabilitySupported": true, "capabilityEnabled": true,
     "linkSettings": {"supportedPorts": [0, 4], "supportedLinkModes": [[1000, 1], [10000, 1]],
      "autoNegotiation": 1, "advertisedLinkModes": [[10000, 1]], "advertisedAutoNegotiation": true,
      "linkMode": [10000, 1], "portMode": 4, "phyAddress": 1, "transceiver": 1,
      "wolSupported": [6, 7], "wolOptions": [6]},
     "statistics": {"packetsTx": 1, "packetsRx": 2, "bytesTx": 3, "bytesRx": 4, "errorsTx": 5,
      "errorsRx": 6, "droppedTx": 7, "droppedRx": 8, "RxLengthErrors": 9, "RxOverErrors": 10,
      "RxCRCErrors": 11, "RxFrameErrors": 12, "RxFIFOErrors": 13, "RxMissedErrors": 14,
      "TxAbortedErrors": 15, "TxFIFOErrors": 16, "TxCarrierErrors": 17, "TxHeartbeatErrors": 18,
      "TxWindowErrors": 19},
     "coalesce": {"adaptiveRX": true, "adaptiveTX": true, "statsBlockUsecs": 1, "sampleInterval": 2,
      "pktRateLow": 3, "pktRateHigh": 4, "rxUsecs": 5, "rxFrames": 6, "rxUsecsIrq": 7,
      "rxFramesIrq": 8, "txUsecs": 9, "txFrames": 10, "txUsecsIrq": 11, "txFramesIrq": 12,
      "rxUsecsLow": 13, "rxFrameLow": 14, "txUsecsLow": 15, "txFrameLow": 16, "rxUsecsHigh": 17,
      "rxFrameHigh": 18, "txUsecsHigh": 19, "txFrameHigh": 20},
     "driverInfo": {"driver": "e5", "driverVersion": "2.1", "firmwareVersion": "0x80000a",
      "busInfo": "0000:03:00.1"}})";

}  // namespace

std::string makeHostWithPorts(std::size_t count) {
  std::string text = "{\"ports\": [";
  for (std::size_t number = 0; number < count; ++number) {
    text += number == 0 ? "\n    {" : ",\n    {";
    text += "\"name\": \"nic" + std::to_string(number) + "\", \"mac\": \"" + macOf(number) + "\"";
    text += ", \"pci\": {\"segment\": " + std::to_string(number >> 8U) +
            ", \"bus\": " + std::to_string(number & 0xffU) +
            ", \"slot\": 0, \"function\": 0, \"vendorId\": \"0x8086\", \"deviceId\": \"0x10fb\"}";
    text += kSamePart;
  }
  return text + "]}\n";
}
