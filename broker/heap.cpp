#include "broker/heap.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace orv::broker {
namespace {

constexpr auto kKinds = static_cast<std::size_t>(ObjectKind::kCount);

// Never destroyed: objects of threads that outlive main count down here.
std::array<std::atomic<std::size_t>, kKinds>& liveCounts() {
  static auto* counts = new std::array<std::atomic<std::size_t>, kKinds>{};
  return *counts;
}

std::size_t live(ObjectKind kind) { return liveCounts()[static_cast<std::size_t>(kind)].load(); }

}  // namespace

HeapEntry::HeapEntry(ObjectKind kind) : kind_(kind) {
  liveCounts()[static_cast<std::size_t>(kind_)].fetch_add(1, std::memory_order_relaxed);
}

HeapEntry::~HeapEntry() {
  liveCounts()[static_cast<std::size_t>(kind_)].fetch_sub(1, std::memory_order_relaxed);
}

ThreadHeap::ThreadHeap() { levels_.emplace_back(); }

ThreadHeap::~ThreadHeap() {
  while (depth() > 0) releaseInnermost();
  freeInnermost();
}

ThreadHeap& ThreadHeap::ofThisThread() {
  thread_local ThreadHeap heap;
  return heap;
}

void ThreadHeap::add(HeapEntry* entry) {
  Level& level = levels_.back();
  level.entries.push_back(entry);
  entry->heap_ = this;
  entry->level_ = levels_.size() - 1;
  entry->index_ = level.entries.size() - 1;
  ++size_;
}

CMPIGcStat* ThreadHeap::mark() {
  static std::atomic<std::uintptr_t> lastToken{0};
  levels_.emplace_back();
  levels_.back().token = reinterpret_cast<CMPIGcStat*>(++lastToken);
  return levels_.back().token;
}

bool ThreadHeap::isInnermost(const CMPIGcStat* token) const {
  return depth() > 0 && levels_.back().token == token;
}

bool ThreadHeap::isOpen(const CMPIGcStat* token) const {
  for (std::size_t i = 1; i < levels_.size(); ++i) {
    if (levels_[i].token == token) return true;
  }
  return false;
}

void ThreadHeap::releaseInnermost() {
  freeInnermost();
  levels_.pop_back();
}

void ThreadHeap::freeInnermost() {
  // A destructor may free objects that it owns in turn, so the list is taken out first.
  const std::vector<HeapEntry*> entries = std::move(levels_.back().entries);
  levels_.back().entries.clear();
  size_ -= entries.size();
  for (HeapEntry* entry : entries) delete entry;
}

void ThreadHeap::remove(HeapEntry* entry) {
  std::vector<HeapEntry*>& entries = levels_[entry->level_].entries;
  entries.back()->index_ = entry->index_;
  entries[entry->index_] = entries.back();
  entries.pop_back();
  --size_;
}

ThreadHeap::ReleaseOutcome ThreadHeap::release(HeapEntry* entry) {
  if (ThreadHeap* heap = entry->heap_) {
    if (heap != &ofThisThread()) return ReleaseOutcome::kOtherThread;
    if (entry->level_ != heap->depth()) return ReleaseOutcome::kOtherMark;
    heap->remove(entry);
  }
  delete entry;
  return ReleaseOutcome::kFreed;
}

LiveObjects countLiveObjects() {
  LiveObjects out;
  out.strings = live(ObjectKind::kString);
  out.arrays = live(ObjectKind::kArray);
  out.dateTimes = live(ObjectKind::kDateTime);
  out.objectPaths = live(ObjectKind::kObjectPath);
  out.instances = live(ObjectKind::kInstance);
  out.arguments = live(ObjectKind::kArguments);
  out.enumerations = live(ObjectKind::kEnumeration);
  out.selectExpressions = live(ObjectKind::kSelectExpression);
  out.contexts = live(ObjectKind::kContext);
  out.results = live(ObjectKind::kResult);
  return out;
}

std::size_t LiveObjects::total() const {
  return strings + arrays + dateTimes + objectPaths + instances + arguments + enumerations +
         selectExpressions + contexts + results;
}

}  // namespace orv::broker
