#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "cmpi/abi/cmpi_types.h"

/// Memory of broker objects. Each thread has a heap of its own. What a factory slot, a getter or an
/// up-call makes is added to it, and freed when an enclosing mark is released, when the request
/// ends, or when the thread ends. Clones and prepared contexts are in no heap; their owner releases
/// them.
namespace orv::broker {

class ThreadHeap;

/// The part of every broker object besides its C record. Counts the objects that are alive.
class HeapEntry {
 public:
  HeapEntry();
  HeapEntry(const HeapEntry&) = delete;
  HeapEntry& operator=(const HeapEntry&) = delete;
  virtual ~HeapEntry();

  ThreadHeap* heap() const { return heap_; }

  /// Frees the object. Overridden where memory is kept so that late use can be reported.
  virtual void free() { delete this; }

  /// Number of objects alive in the process, of all brokers and threads.
  static std::size_t countAlive();

 protected:
  /// Removes the object from its heap and the count while its memory is kept.
  void retire();

 private:
  friend class ThreadHeap;
  ThreadHeap* heap_ = nullptr;  // null: in no heap
  std::size_t level_ = 0;       // mark under which it was made
  std::size_t index_ = 0;       // place in that mark's list
  bool retired_ = false;
};

/// The objects of one thread, in nested marks. Used only by that thread.
class ThreadHeap {
 public:
  ThreadHeap();
  ~ThreadHeap();
  ThreadHeap(const ThreadHeap&) = delete;
  ThreadHeap& operator=(const ThreadHeap&) = delete;

  static ThreadHeap& ofThisThread();

  /// Adds an object to the innermost mark. Fails: std::bad_alloc.
  void add(HeapEntry* entry);

  /// Number of open marks.
  std::size_t depth() const { return levels_.size() - 1; }
  std::size_t size() const { return size_; }

  /// Opens a mark and returns its token.
  CMPIGcStat* mark();
  /// True when `token` is the innermost open mark.
  bool isInnermost(const CMPIGcStat* token) const;
  bool isOpen(const CMPIGcStat* token) const;
  /// Frees what was made since the innermost mark, and closes it.
  void releaseInnermost();
  /// Frees what was made since the innermost mark, and leaves it open.
  void freeInnermost();

  enum class ReleaseOutcome { kFreed, kOtherThread, kOtherMark };
  /// Frees one object. Refuses one that is in another thread's heap or under an outer mark.
  static ReleaseOutcome release(HeapEntry* entry);

 private:
  struct Level {
    CMPIGcStat* token = nullptr;  // a unique number, not an address
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
  /// Also closes marks that were left open inside.
  ~HeapScope() {
    while (heap_.depth() > depth_) heap_.releaseInnermost();
  }
  /// Number of marks that were opened inside and are still open.
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
