#include "platform/simulated/host_parser.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "platform/simulated/json_value.h"

namespace simulated {
namespace {

using nlohmann::json;
using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkMode;
using Nodemgr::Network::MacAddress;

/// Reads a JSON text only to find where it stops being JSON.
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

  /// Characters read when the error was found, the wrong one included.
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

// How values are read for which type and facts are not enough. The readers are outside the unnamed
// namespace, where the templates of json_value.h find them.

/// [speed, duplex]
void readValue(const Value& value, LinkMode& mode) {
  if (value.array().size() != 2) value.refuse("expected a pair [speed, duplex]");
  readValue(Value(value, std::size_t{0}, value.json()[0]), mode.first);
  readValue(Value(value, std::size_t{1}, value.json()[1]), mode.second);
}

/// "02:1a:2b:ab:cd:ef", digits in either case
void readValue(const Value& value, MacAddress& mac) {
  constexpr std::size_t kWidth = 3;  // two digits and a colon, which the last pair lacks
  const std::string& text = value.text();
  MacAddress::Bytes bytes{};
  bool good = text.size() == bytes.size() * kWidth - 1;
  for (std::size_t i = 0; good && i < bytes.size(); ++i) {
    const char* pair = text.data() + i * kWidth;
    good = std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2 &&
           (i + 1 == bytes.size() || pair[2] == ':');
  }
  if (!good) value.refuse("expected an address in the form \"02:1a:2b:ab:cd:ef\"");
  mac = MacAddress(bytes);
}

/// {"GetMtu": "nodemgr", ...}
void readValue(const Value& value, AccessorFaults& faults) {
  const std::vector<std::string> known = accessorNames();
  value.forEachMember([&](const std::string& name, const Value& member) {
    if (std::count(known.begin(), known.end(), name) == 0) member.refuse("unknown member");
    faults[name] = readFaultName(member);
  });
}

/// The duplex of the port itself must be one of three values; that of a link mode may be any
/// number.
void readValue(const Value& value, SimulatedPort& port) {
  readFacts(value, port);
  value.withMember("duplex", [](const Value& duplex) {
    duplex.unsignedUpTo(static_cast<std::uint64_t>(Duplex::kHalf));
  });
}

/// Dotted quad: four decimal numbers up to 255
void readValue(const Value& value, HsiIpv4Address& address) {
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

void readValue(const Value& value, SimulatedIpv6& ipv6) {
  readFacts(value, ipv6);
  if (!value.json().contains("id")) ipv6.id = ipv6.address;
}

void readValue(const Value& value, SimulatedCore& core) {
  readFacts(value, core);
  value.withMember("vendor", [](const Value& vendor) {
    if (vendor.text().size() != 12) vendor.refuse("expected twelve characters");
  });
}

void readValue(const Value& value, SimulatedPackage& package) {
  readFacts(value, package);
  if (!value.json().contains("coreCount")) {
    package.coreCount = static_cast<std::uint32_t>(package.cores.size());
  }
}

/// {"239": ["hk0"], "607": [0, 3], ...}
void readValue(const Value& value, InstanceFaults& faults) {
  value.forEachMember([&](const std::string& number, const Value& member) {
    const auto* row =
        std::find_if(std::begin(kInstanceNodes), std::end(kInstanceNodes),
                     [&](const InstanceNode& node) { return number == std::to_string(node.node); });
    if (row == std::end(kInstanceNodes)) member.refuse("unknown member");
    FailingInstances& failing = faults[row->node];
    if (row->named) {
      readValue(member, failing.names);
    } else {
      readValue(member, failing.numbers);
    }
  });
}

std::variant<SimulatedHost, HostError> parseHost(std::string_view text) {
  // The JSON library would take a NUL for the end of the text.
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
