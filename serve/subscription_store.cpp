#include "serve/subscription_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "serve/log.h"

namespace orv::serve {
namespace {

using broker::ObjectPath;
using broker::Value;
using Json = nlohmann::ordered_json;

constexpr std::size_t kMaximumFileBytes = 64U << 20;
constexpr int kVersion = 1;

Json jsonOf(const ObjectPath& path) {
  Json keys = Json::object();
  for (const broker::Key& key : path.keys) {
    const auto* text = std::get_if<std::string>(&key.value.content);
    if (text != nullptr) keys[key.name] = *text;
  }
  return {{"class", path.className}, {"keys", keys}};
}

Json jsonOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value.content)) return *text;
  if (const auto* number = std::get_if<std::uint64_t>(&value.content)) return *number;
  if (const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&value.content)) {
    return jsonOf(**path);
  }
  Json array = Json::array();
  if (const auto* elements = std::get_if<Value::Array>(&value.content)) {
    for (const Value& element : *elements) array.push_back(jsonOf(element));
  }
  return array;
}

const Json& member(const Json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) throw StoreError(std::string("\"") + name + "\" is missing");
  return *found;
}

std::string textOf(const Json& value, const std::string& where) {
  if (!value.is_string()) throw StoreError(where + " is not a string");
  return value.get<std::string>();
}

ObjectPath pathOf(const Json& value, const std::string& where) {
  if (!value.is_object()) throw StoreError(where + " is not an object path");
  ObjectPath path;
  path.className = textOf(member(value, "class"), where + ".class");
  const Json& keys = member(value, "keys");
  if (!keys.is_object()) throw StoreError(where + ".keys is not an object");
  for (const auto& [name, key] : keys.items()) {
    path.keys.push_back({name, Value::ofString(textOf(key, where + "." + name))});
  }
  return path;
}

Value valueOf(const Json& value, CMPIType type, const std::string& where) {
  switch (type) {
    case CMPI_string:
      return Value::ofString(textOf(value, where));
    case CMPI_uint16:
      if (!value.is_number_unsigned() || value.get<std::uint64_t>() > 0xFFFF) {
        throw StoreError(where + " is not a number below 65536");
      }
      return Value::ofUnsigned(CMPI_uint16, value.get<std::uint64_t>());
    case CMPI_ref:
      return Value::ofReference(pathOf(value, where));
    case CMPI_stringA: {
      if (!value.is_array()) throw StoreError(where + " is not an array");
      Value::Array elements;
      for (const Json& element : value) elements.push_back(Value::ofString(textOf(element, where)));
      return Value::ofArray(CMPI_string, std::move(elements));
    }
    default:
      throw StoreError(where + " has a type that cannot be stored");
  }
}

StoredObject objectOf(const Json& value, const broker::ClassRepository& classes) {
  if (!value.is_object()) throw StoreError("a member of \"objects\" is not an object");
  StoredObject object;
  object.creator = textOf(member(value, "creator"), "creator");
  const std::string className = textOf(member(value, "class"), "class");
  const broker::ClassDefinition* definition = classes.find(className);
  if (definition == nullptr) throw StoreError("there is no class \"" + className + "\"");
  object.instance.path.className = definition->name;
  const Json& properties = member(value, "properties");
  if (!properties.is_object()) throw StoreError("\"properties\" is not an object");
  for (const auto& [name, content] : properties.items()) {
    const broker::PropertyDefinition* declared = definition->property(name);
    if (declared == nullptr) throw StoreError(className + " has no property \"" + name + "\"");
    object.instance.properties.push_back(
        {declared->name, valueOf(content, declared->type, className + "." + name)});
  }
  return object;
}

/// A descriptor, closed with the object.
class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  ~File() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int get() const { return descriptor_; }

 private:
  const int descriptor_;
};

[[noreturn]] void cannot(const char* what, const std::string& file) {
  throw std::runtime_error(file + " cannot be " + what + ": " + std::strerror(errno));
}

void writeAll(const File& file, const std::string& text, const std::string& name) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = ::write(file.get(), text.data() + done, text.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) cannot("written", name);
    done += static_cast<std::size_t>(written);
  }
  if (::fsync(file.get()) != 0) cannot("synced", name);
}

/// Only a crash of the host can bring back the file before.
void warnOfSync(const std::string& file) noexcept try {
  const std::string reason = std::strerror(errno);
  log(LogLevel::kWarning, file +
                              " is written, but the change may be lost if the host crashes: its "
                              "directory cannot be synced: " +
                              reason);
} catch (const std::exception&) {  // no memory; the change has been made
}

std::string directoryOf(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : file.substr(0, slash);
}

}  // namespace

std::string storeText(const std::vector<StoredObject>& objects) {
  Json list = Json::array();
  for (const StoredObject& object : objects) {
    Json properties = Json::object();
    for (const broker::Property& property : object.instance.properties) {
      if (!property.value.null) properties[property.name] = jsonOf(property.value);
    }
    list.push_back({{"class", object.instance.path.className},
                    {"creator", object.creator},
                    {"properties", std::move(properties)}});
  }
  const Json whole = {{"version", kVersion}, {"objects", std::move(list)}};
  // Bytes that are not UTF-8 are replaced, as they are in messages.
  return whole.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::vector<StoredObject> readStore(const std::string& text,
                                    const broker::ClassRepository& classes) try {
  const Json whole = Json::parse(text);
  if (!whole.is_object()) throw StoreError("the file is not an object");
  if (member(whole, "version") != kVersion) throw StoreError("the version is not 1");
  const Json& list = member(whole, "objects");
  if (!list.is_array()) throw StoreError("\"objects\" is not an array");
  std::vector<StoredObject> objects;
  for (const Json& value : list) objects.push_back(objectOf(value, classes));
  return objects;
} catch (const Json::exception& error) {
  throw StoreError(error.what());
}

std::vector<StoredObject> SubscriptionStore::load(const broker::ClassRepository& classes) const {
  if (file_.empty() || (::access(file_.c_str(), F_OK) != 0 && errno == ENOENT)) return {};
  std::ifstream in(file_, std::ios::binary);
  if (!in) cannot("read", file_);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (in.bad()) cannot("read", file_);
  try {
    if (text.size() > kMaximumFileBytes) throw StoreError("the file is too large");
    return readStore(text, classes);
  } catch (const StoreError& error) {
    const std::string aside = file_ + ".damaged";
    if (std::rename(file_.c_str(), aside.c_str()) != 0) cannot("set aside", file_);
    log(LogLevel::kError, "subscriptions are lost: " + file_ + " is damaged (" + error.what() +
                              "); it is kept as " + aside);
    return {};
  }
}

void SubscriptionStore::save(const std::vector<StoredObject>& objects) const {
  if (file_.empty()) return;
  const std::string text = storeText(objects);
  const std::string fresh = file_ + ".new";
  {
    const File file(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (file.get() < 0) cannot("written", fresh);
    writeAll(file, text, fresh);
  }
  const File directory(::open(directoryOf(file_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.get() < 0) cannot("synced", file_);
  if (std::rename(fresh.c_str(), file_.c_str()) != 0) cannot("replaced", file_);
  // The new file is the one that counts now: callers must not take the change back.
  if (::fsync(directory.get()) != 0) warnOfSync(file_);
}

}  // namespace orv::serve
