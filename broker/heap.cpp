#include "broker/heap.h"

#include <atomic>
#include <cstdint>

namespace orv::broker {
namespace {

// Number of objects alive in the process. Trivially destructible, because threads that outlive main
// still count down.
std::atomic<std::size_t> liveEntries{0};

}  // namespace

HeapEntry::HeapEntry() { liveEntries.fetch_add(1, std::memory_order_relaxed); }

HeapEntry::~HeapEntry() {
  if (!retired_) liveEntries.fetch_sub(1, std::memory_order_relaxed);
}

void HeapEntry::retire() {
  retired_ = true;
  heap_ = nullptr;
  liveEntries.fetch_sub(1, std::memory_order_relaxed);
}

std::size_t HeapEntry::countAlive() { return liveEntries.load(); }

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
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a number, never dereferenced
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
  // Destructors may free further objects, so the list is moved out first.
  const std::vector<HeapEntry*> entries = std::move(levels_.back().entries);
  levels_.back().entries.clear();
  size_ -= entries.size();
  for (HeapEntry* entry : entries) entry->free();
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
  entry->free();
  return ReleaseOutcome::kFreed;
}

}  // namespace orv::broker
