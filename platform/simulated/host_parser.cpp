#include "platform/simulated/host_parser.h"

#include <algorithm>
#include <charconv>

#include "platform/simulated/json_value.h"
#include "platform/simulated/port_reader.h"

namespace simulated {
namespace {

using nlohmann::json;

/// Swallows a JSON text and keeps where it stops being JSON.
class ErrorFinder : public nlohmann::json_sax<json> {
 public:
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return true; }
  bool key(string_t&) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t position, const std::string&, const json::exception&) override {
    read_ = position;
    return false;
  }

  /// Characters read when the error was seen, the wrong one included.
  std::size_t read() const { return read_; }

 private:
  std::size_t read_ = 0;
};

/// Line and column, counted from 1, of the last of the first `read` characters.
std::string linePlace(std::string_view text, std::size_t read) {
  const std::string_view before = text.substr(0, read == 0 ? 0 : read - 1);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t newline = before.rfind('\n');
  const std::size_t column =
      newline == std::string_view::npos ? before.size() + 1 : before.size() - newline;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

HostError notJson(std::string_view text) {
  ErrorFinder finder;
  json::sax_parse(text, &finder);
  return {linePlace(text, finder.read()), "not JSON"};
}

}  // namespace

// The readers of the records stand outside the unnamed namespace, where the templates of
// json_value.h look for them.

/// Dotted quad: four decimal numbers up to 255
void readValue(const Value& value, Ipv4Bytes& address) {
  const std::string& text = value.text();
  const char* next = text.data();
  const char* const end = text.data() + text.size();
  bool good = true;
  for (std::size_t i = 0; good && i < address.size(); ++i) {
    const auto [stopped, error] = std::from_chars(next, end, address[i]);
    const bool last = i + 1 == address.size();
    good = error == std::errc{} && (last ? stopped == end : stopped != end && *stopped == '.');
    if (good && !last) next = stopped + 1;
  }
  if (!good) value.refuse("expected an address in the form \"10.0.0.7\"");
}

void readValue(const Value& value, SimulatedIpv4& ipv4) {
  static constexpr std::array<Member<SimulatedIpv4>, 2> kMembers = {{
      {"address", into<&SimulatedIpv4::address>},
      {"netmask", into<&SimulatedIpv4::netmask>},
  }};
  readMembers(value, kMembers, ipv4);
}

void readValue(const Value& value, SimulatedIpv6& ipv6) {
  static constexpr std::array<Member<SimulatedIpv6>, 3> kMembers = {{
      {"id", into<&SimulatedIpv6::id>},
      {"address", into<&SimulatedIpv6::address>},
      {"prefixLength", into<&SimulatedIpv6::prefixLength>},
  }};
  readMembers(value, kMembers, ipv6);
  if (!value.json().contains("id")) ipv6.id = ipv6.address;
}

void readValue(const Value& value, SimulatedInterface& interface) {
  static constexpr std::array<Member<SimulatedInterface>, 3> kMembers = {{
      {"name", into<&SimulatedInterface::name>},
      {"ipv4", into<&SimulatedInterface::ipv4>},
      {"ipv6", into<&SimulatedInterface::ipv6>},
  }};
  readMembers(value, kMembers, interface);
}

void readValue(const Value& value, SimulatedCore& core) {
  static constexpr auto kReadVendor = [](const Value& vendor, SimulatedCore& read) {
    if (vendor.text().size() != 12) vendor.refuse("expected twelve characters");
    read.vendor = vendor.text();
  };
  static constexpr std::array<Member<SimulatedCore>, 7> kMembers = {{
      {"running", into<&SimulatedCore::running>},
      {"stepping", into<&SimulatedCore::stepping>},
      {"vendor", kReadVendor},
      {"featureEbx", into<&SimulatedCore::featureEbx>},
      {"featureEcx", into<&SimulatedCore::featureEcx>},
      {"extendedEcx", into<&SimulatedCore::extendedEcx>},
      {"extendedEdx", into<&SimulatedCore::extendedEdx>},
  }};
  readMembers(value, kMembers, core);
}

void readValue(const Value& value, SimulatedPackage& package) {
  static constexpr std::array<Member<SimulatedPackage>, 2> kMembers = {{
      {"cores", into<&SimulatedPackage::cores>},
      {"coreCount", into<&SimulatedPackage::coreCount>},
  }};
  readMembers(value, kMembers, package);
  if (!value.json().contains("coreCount")) {
    package.coreCount = static_cast<std::uint32_t>(package.cores.size());
  }
}

void readValue(const Value& value, SimulatedProcessors& processors) {
  static constexpr std::array<Member<SimulatedProcessors>, 4> kMembers = {{
      {"powerPolicy", into<&SimulatedProcessors::powerPolicy>},
      {"hyperThreading", into<&SimulatedProcessors::hyperThreading>},
      {"modelName", into<&SimulatedProcessors::modelName>},
      {"packages", into<&SimulatedProcessors::packages>},
  }};
  readMembers(value, kMembers, processors);
}

/// {"239": ["hk0"], "607": [0, 3], ...}
void readFailInstances(const Value& value, SimulatedHsi& hsi) {
  for (const auto& item : value.object().items()) {
    const Value member(value, item.key(), item.value());
    std::size_t row = 0;
    while (row < kInstanceNodes.size() && item.key() != kInstanceNodes[row].text) ++row;
    if (row == kInstanceNodes.size()) member.refuse("unknown member");
    if (kInstanceNodes[row].named) {
      readValue(member, hsi.failInstances[row].names);
    } else {
      readValue(member, hsi.failInstances[row].numbers);
    }
  }
}

void readValue(const Value& value, SimulatedHsi& hsi) {
  static constexpr std::array<Member<SimulatedHsi>, 3> kMembers = {{
      {"signatureOk", into<&SimulatedHsi::signatureOk>},
      {"failNodes", into<&SimulatedHsi::failNodes>},
      {"failInstances", readFailInstances},
  }};
  readMembers(value, kMembers, hsi);
}

void readValue(const Value& value, SimulatedVersion& version) {
  static constexpr std::array<Member<SimulatedVersion>, 8> kMembers = {{
      {"status", into<&SimulatedVersion::status>},
      {"errno", into<&SimulatedVersion::errnoValue>},
      {"text", into<&SimulatedVersion::text>},
      {"productName", into<&SimulatedVersion::productName>},
      {"version", into<&SimulatedVersion::version>},
      {"edition", into<&SimulatedVersion::edition>},
      {"releaseDate", into<&SimulatedVersion::releaseDate>},
      {"buildNumber", into<&SimulatedVersion::buildNumber>},
  }};
  readMembers(value, kMembers, version);
}

void readValue(const Value& value, SimulatedHost& host) {
  static constexpr std::array<Member<SimulatedHost>, 8> kMembers = {{
      {"systemName", into<&SimulatedHost::systemName>},
      {"systemClassName", into<&SimulatedHost::systemClassName>},
      {"ports", into<&SimulatedHost::ports>},
      {"interfaces", into<&SimulatedHost::interfaces>},
      {"processors", into<&SimulatedHost::processors>},
      {"hsi", into<&SimulatedHost::hsi>},
      {"version", into<&SimulatedHost::version>},
      {"hypervisor", into<&SimulatedHost::hypervisor>},
  }};
  readMembers(value, kMembers, host);
}

std::variant<SimulatedHost, HostError> parseHost(std::string_view text) {
  // The JSON library takes a NUL for the end of the text.
  if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
    return HostError{linePlace(text, nul + 1), "not JSON"};
  }
  const json root = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (root.is_discarded()) return notJson(text);
  try {
    SimulatedHost host;
    readValue(Value(root), host);
    return host;
  } catch (const Refusal& refusal) {
    return HostError{refusal.place.empty() ? "top level" : refusal.place, refusal.message};
  }
}

}  // namespace simulated
