#include "cmpi/cmpi_reference_text.h"

#include <atomic>
#include <string_view>
#include <utility>

namespace {

/// How often a path was changed through a handle that had not made it.
std::atomic<std::uint32_t> strangersChanges{0};

bool contains(std::string_view text, char c) { return text.find(c) != std::string_view::npos; }

/// Begins with a letter or digit and contains nothing that ends the name of a key. Stricter than an
/// object manager, since only a proof is wanted.
bool isUsableName(std::string_view name) {
  if (name.empty()) return false;
  const char c = name.front();
  const bool begins = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  return begins && !contains(name, '=') && !contains(name, ',') && !contains(name, '"');
}

}  // namespace

CmpiReferenceText::CmpiReferenceText(const char* nameSpace, const char* className)
    : isOwn_(true), changes_(strangersChanges.load(std::memory_order_relaxed)) {
  if (nameSpace == nullptr || className == nullptr) return;
  const std::string_view space(nameSpace);
  const std::string_view name(className);
  const bool isUsable = !space.empty() && !contains(space, '.') && !contains(space, ':') &&
                        !name.empty() && !contains(name, '.');
  if (isUsable) length_ = space.size() + 1 + name.size();
}

CmpiReferenceText& CmpiReferenceText::operator=(const CmpiReferenceText& other) {
  if (this != &other) *this = CmpiReferenceText();
  return *this;
}

CmpiReferenceText::CmpiReferenceText(CmpiReferenceText&& other) noexcept
    : isOwn_(std::exchange(other.isOwn_, false)),
      length_(std::exchange(other.length_, 0)),
      changes_(other.changes_) {}

CmpiReferenceText& CmpiReferenceText::operator=(CmpiReferenceText&& other) noexcept {
  isOwn_ = std::exchange(other.isOwn_, false);
  length_ = std::exchange(other.length_, 0);
  changes_ = other.changes_;
  return *this;
}

void CmpiReferenceText::add(const char* name, const CmpiData& value) {
  if (length_ == 0 || value.getType() != CMPI_chars || value.isNullValue() || name == nullptr) {
    return forget();
  }
  const std::string_view key(name);
  const std::string_view text(value.data().value.chars);
  if (!isUsableName(key) || contains(text, '"')) return forget();
  length_ += key.size() + text.size() + 4;  // .name="text"
}

void CmpiReferenceText::forget() {
  length_ = 0;
  if (!isOwn_) strangersChanges.fetch_add(1, std::memory_order_relaxed);
}

bool CmpiReferenceText::isCarriable() const {
  return length_ != 0 && length_ <= kLongestReference &&
         changes_ == strangersChanges.load(std::memory_order_relaxed);
}
