#include "platform/simulated/host_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

#include "platform/simulated/host_parser.h"

namespace simulated {
namespace {

constexpr const char* kFileVariable = "ORV_HOST_FILE";
constexpr std::size_t kUnknownSize =
    64 * 1024;  // of the first buffer for what is not a regular file

/// A text and what the parser made of it.
struct ParsedText {
  std::string text;
  std::variant<SimulatedHost, HostError> outcome;
};

/// The text that was read last. Never destroyed: threads may still ask while the process exits.
struct LastText {
  std::mutex mutex;  ///< guards `parsed`; nothing is locked before or after it
  std::shared_ptr<const ParsedText> parsed;
};

LastText& lastText() {
  static auto* const last = new LastText;
  return *last;
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// The whole file; absent, with errno set, when it cannot be read.
std::optional<std::string> readFile(const char* path) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path, "rbe"));
  if (file == nullptr) return std::nullopt;
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(path, unknown);
  // One byte more than the size, so that the end is seen without another buffer.
  std::string text(unknown ? kUnknownSize : size + 1, '\0');
  std::size_t used = std::fread(text.data(), 1, text.size(), file.get());
  while (used == text.size()) {
    text.resize(2 * used);
    used += std::fread(text.data() + used, 1, used, file.get());
  }
  if (std::ferror(file.get()) != 0) return std::nullopt;
  text.resize(used);
  return text;
}

std::shared_ptr<const ParsedText> parseUnlessKnown(std::string text) {
  LastText& last = lastText();
  std::shared_ptr<const ParsedText> known;
  {
    const std::lock_guard lock(last.mutex);
    known = last.parsed;
  }
  if (known != nullptr && known->text == text) return known;
  auto outcome = parseHost(text);
  auto parsed = std::make_shared<const ParsedText>(ParsedText{std::move(text), std::move(outcome)});
  const std::lock_guard lock(last.mutex);
  known.swap(last.parsed);  // so that the old host is destroyed when the lock is released
  last.parsed = parsed;
  return parsed;
}

/// Writes one line to standard error, whatever is in the file name and the member names.
void report(const std::string& problem) {
  std::string line = "simulated host: " + problem;
  for (char& character : line) {
    const auto code = static_cast<unsigned char>(character);
    if (code < ' ' || code == '\x7f') character = '?';
  }
  line += '\n';
  std::fputs(line.c_str(), stderr);
}

}  // namespace

std::shared_ptr<const SimulatedHost> loadHost() {
  const char* path = std::getenv(kFileVariable);
  if (path == nullptr || *path == '\0') {
    report(std::string("the environment variable ") + kFileVariable + " names no file");
    return nullptr;
  }
  std::optional<std::string> text = readFile(path);
  if (!text) {
    report(std::string(path) + ": " + std::generic_category().message(errno));
    return nullptr;
  }
  const auto parsed = parseUnlessKnown(std::move(*text));
  if (const auto* error = std::get_if<HostError>(&parsed->outcome)) {
    report(std::string(path) + ": " + error->place + ": " + error->message);
    return nullptr;
  }
  return {parsed, &std::get<SimulatedHost>(parsed->outcome)};
}

}  // namespace simulated
