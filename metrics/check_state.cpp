#include "metrics/check_state.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace orv::metrics {
namespace {

using nlohmann::json;

constexpr std::size_t kLargest = 1024 * 1024;  // bytes, more than writeState ever writes

CheckState stateOf(const json& stored) {
  CheckState state;
  state.time = stored.at("time").get<double>();
  state.host = stored.at("host").get<std::string>();
  if (!stored.at("errors").is_object()) throw std::invalid_argument("not counters by port");
  for (const auto& [device, errors] : stored.at("errors").items()) {
    if (!errors.is_number_unsigned()) throw std::invalid_argument("not a counter");
    state.errors[device] = errors.get<std::uint64_t>();
  }
  return state;
}

std::string textOf(const CheckState& state) {
  json stored = {{"time", state.time}, {"host", state.host}, {"errors", json::object()}};
  for (const auto& [device, errors] : state.errors) stored["errors"][device] = errors;
  return stored.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

[[noreturn]] void fail(const std::string& file) {
  throw std::runtime_error("state file " + file + " cannot be written: " + std::strerror(errno));
}

/// False with errno set. A full disk may take a part first, and says so only at the next attempt.
bool writeAll(int descriptor, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

StoredState readState(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    if (access(file.c_str(), F_OK) != 0) return {};
    return {std::nullopt, "state file " + file + " cannot be read"};
  }
  std::string text(kLargest + 1, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(in.gcount()));
  try {
    if (text.size() > kLargest) throw std::invalid_argument("too large");
    return {stateOf(json::parse(text)), ""};
  } catch (const std::exception&) {
    return {std::nullopt, "state file " + file + " is damaged and is replaced"};
  }
}

void writeState(const std::string& file, const CheckState& state) {
  std::string temporary = file + ".XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) fail(file);
  const std::string text = textOf(state);
  const bool written = writeAll(descriptor, text);
  const int writeError = errno;
  const bool closed = close(descriptor) == 0;
  if (written && closed && std::rename(temporary.c_str(), file.c_str()) == 0) return;
  const int reason = written ? errno : writeError;
  unlink(temporary.c_str());
  errno = reason;
  fail(file);
}

}  // namespace orv::metrics
