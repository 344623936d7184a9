#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "cmpi/abi/cmpi_types.h"

/// Memory of broker objects. Each thread has a heap of its own: what a factory slot, a getter or an
/// up-call makes is entered there and freed when an enclosing mark is released, when the request
/// ends, or when the thread ends. Clones and prepared contexts are in no heap; their owner releases
/// them.
namespace orv::broker {

class ThreadHeap;

/// What every broker object has beside its C record. Counts itself while it lives.
class HeapEntry {
 public:
  HeapEntry();
  HeapEntry(const HeapEntry&) = delete;
  HeapEntry& operator=(const HeapEntry&) = delete;
  virtual ~HeapEntry();

  ThreadHeap* heap() const { return heap_; }

  /// Ends the object's life. Objects that are watched for late use stay in memory after it.
  virtual void free() { delete this; }

  /// Objects alive in the process, of all brokers and threads.
  static std::size_t countAlive();

 protected:
  /// Leaves the heap and the count while the object stays in memory.
  void retire();

 private:
  friend class ThreadHeap;
  ThreadHeap* heap_ = nullptr;  // null: in no heap
  std::size_t level_ = 0;       // mark under which it was made
  std::size_t index_ = 0;       // place in that mark's list
  bool retired_ = false;
};

/// Objects of one thread, in nested marks. Only its own thread uses it.
class ThreadHeap {
 public:
  ThreadHeap();
  ~ThreadHeap();
  ThreadHeap(const ThreadHeap&) = delete;
  ThreadHeap& operator=(const ThreadHeap&) = delete;

  static ThreadHeap& ofThisThread();

  void add(HeapEntry* entry);

  /// Number of open marks.
  std::size_t depth() const { return levels_.size() - 1; }
  std::size_t size() const { return size_; }

  /// Opens a mark; the token names it.
  CMPIGcStat* mark();
  /// True when `token` is the innermost open mark.
  bool isInnermost(const CMPIGcStat* token) const;
  bool isOpen(const CMPIGcStat* token) const;
  /// Frees what was made since the innermost mark, and closes it.
  void releaseInnermost();
  /// Frees what was made since the innermost mark, and leaves it open.
  void freeInnermost();

  enum class ReleaseOutcome { kFreed, kOtherThread, kOtherMark };
  /// Frees one object before its time; one that is in no heap always. The others stay.
  static ReleaseOutcome release(HeapEntry* entry);

 private:
  struct Level {
    CMPIGcStat* token = nullptr;  // a number never given out before, not an address
    std::vector<HeapEntry*> entries;
  };
  void remove(HeapEntry* entry);

  std::vector<Level> levels_;
  std::size_t size_ = 0;
};

/// A mark for a block of the broker's own code.
class HeapScope {
 public:
  HeapScope() : heap_(ThreadHeap::ofThisThread()), depth_(heap_.depth()) { heap_.mark(); }
  HeapScope(const HeapScope&) = delete;
  HeapScope& operator=(const HeapScope&) = delete;
  /// Closes marks that were left open inside, too.
  ~HeapScope() {
    while (heap_.depth() > depth_) heap_.releaseInnermost();
  }
  /// Marks that were opened inside and are open still.
  std::size_t openMarks() const { return heap_.depth() - depth_ - 1; }

 private:
  ThreadHeap& heap_;
  std::size_t depth_;
};

/// A new object in the calling thread's heap.
template <class T, class... Arguments>
T* makeObject(Arguments&&... arguments) {
  auto object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
  ThreadHeap::ofThisThread().add(object.get());
  return object.release();
}

}  // namespace orv::broker
