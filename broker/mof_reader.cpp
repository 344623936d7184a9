#include "broker/mof_reader.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "broker/mof_parser.h"

namespace orv::broker {
namespace {

namespace fs = std::filesystem;

// The qualifiers that the broker itself interprets; a schema may declare them too.
constexpr std::pair<const char*, CMPIType> kBuiltInQualifiers[] = {
    {"Abstract", CMPI_boolean},        {"Association", CMPI_boolean},
    {"EmbeddedInstance", CMPI_string}, {"EmbeddedObject", CMPI_boolean},
    {"Indication", CMPI_boolean},      {"Key", CMPI_boolean},
    {"Override", CMPI_string},
};

std::size_t sizeOf(const std::vector<std::string>& texts) {
  std::size_t bytes = 0;
  for (const std::string& text : texts) bytes += sizeof(std::string) + text.size();
  return bytes;
}

std::size_t sizeOf(const std::vector<QualifierValue>& qualifiers) {
  std::size_t bytes = 0;
  for (const QualifierValue& q : qualifiers) bytes += sizeof(q) + q.name.size() + sizeOf(q.values);
  return bytes;
}

// An estimate of the memory that a class takes.
std::size_t sizeOf(const ClassDefinition& definition) {
  std::size_t bytes = sizeof(definition) + definition.name.size() + sizeOf(definition.qualifiers);
  for (const PropertyDefinition& p : definition.properties) {
    bytes += sizeof(p) + p.name.size() + sizeOf(p.qualifiers);
    if (p.defaultValue) bytes += sizeOf(*p.defaultValue);
  }
  return bytes;
}

class Deeper {
 public:
  explicit Deeper(int& depth) : depth_(depth) { ++depth_; }
  ~Deeper() { --depth_; }
  Deeper(const Deeper&) = delete;
  Deeper& operator=(const Deeper&) = delete;

 private:
  int& depth_;
};

std::vector<std::string> mofFiles(const fs::path& directory) {
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (entry.path().extension() == ".mof" && !entry.is_directory()) {
      files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// The content of a regular file, at most one byte more than `limit`. Absent when it cannot be
/// read.
std::optional<std::string> contentOf(const fs::path& path, std::size_t limit) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return std::nullopt;
  const std::uintmax_t size = fs::file_size(path, error);
  std::ifstream in(path, std::ios::binary);
  if (error || !in) return std::nullopt;
  std::string text(static_cast<std::size_t>(std::min<std::uintmax_t>(size, limit + 1)), '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (in.bad()) return std::nullopt;
  text.resize(static_cast<std::size_t>(in.gcount()));
  return text;
}

}  // namespace

MofReader::MofReader(ClassRepository& classes, MofLimits limits)
    : classes_(classes),
      limits_(limits),
      qualifiers_(std::begin(kBuiltInQualifiers), std::end(kBuiltInQualifiers)) {}

bool MofReader::isReadable(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) && std::ifstream(path).good();
}

void MofReader::readFile(const std::string& path) {
  std::error_code error;
  const fs::path canonical = fs::canonical(path, error);
  if (!error && filesRead_.count(canonical.string()) != 0) return;
  const auto text = error ? std::nullopt : contentOf(canonical, limits_.fileBytes);
  if (!text) throw MofError(path, 0, "file cannot be read");
  filesRead_.insert(canonical.string());
  readText(*text, path);
}

void MofReader::readText(std::string_view text, const std::string& name) {
  if (text.size() > limits_.fileBytes) {
    throw MofError(name, 0, "file is larger than " + std::to_string(limits_.fileBytes) + " bytes");
  }
  const Deeper deeper(includeDepth_);
  MofParser(*this, text, name).parse();
}

void MofReader::readDirectory(const std::string& directory) {
  try {
    std::vector<std::string> files;
    if (const fs::path base = fs::path(directory) / "base"; fs::is_directory(base)) {
      files = mofFiles(base);
    }
    const std::vector<std::string> own = mofFiles(directory);
    files.insert(files.end(), own.begin(), own.end());
    if (files.empty()) throw MofError(directory, 0, "directory holds no *.mof file");
    for (const std::string& file : files) readFile(file);
  } catch (const fs::filesystem_error& e) {
    throw MofError(directory, 0, "directory cannot be read: " + e.code().message());
  }
}

void MofReader::addClass(ClassDefinition own) {
  const std::string name = own.name;
  int depth = 1;
  if (const auto parent = inheritanceDepth_.find(own.superclass);
      parent != inheritanceDepth_.end()) {
    depth += parent->second;
  }
  if (depth > limits_.inheritanceDepth) {
    throw std::invalid_argument("class " + name + " has too many ancestors");
  }
  if (repositoryBytes_ > limits_.repositoryBytes) {
    throw std::invalid_argument("schema is too large");
  }
  if (!classes_.add(std::move(own))) return;
  inheritanceDepth_[name] = depth;
  repositoryBytes_ += sizeOf(*classes_.find(name));
}

ClassRepository loadSchema(const std::string& directory) {
  ClassRepository classes;
  MofReader(classes).readDirectory(directory);
  return classes;
}

}  // namespace orv::broker
