#include "tests/support/failing_new.h"

#include <atomic>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {
/// The allocations that still succeed, if one is to fail.
thread_local std::size_t successesLeft = 0;
thread_local bool isArmed = false;
thread_local bool hasFailed = false;

/// The size from which on allocations fail on every thread.
std::atomic<std::size_t> largeSize = SIZE_MAX;

bool fails(std::size_t size) {
  if (size >= largeSize) return true;
  if (!isArmed || successesLeft-- > 0) return false;
  isArmed = false;
  hasFailed = true;
  return true;
}
}  // namespace

// NOLINTBEGIN(cppcoreguidelines-owning-memory, misc-new-delete-overloads)
void* operator new(std::size_t size) {
  void* const memory = fails(size) ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
// NOLINTEND(cppcoreguidelines-owning-memory, misc-new-delete-overloads)

namespace blindfold {

FailingNew::FailingNew(std::size_t successes) {
  assert(!isArmed);
  successesLeft = successes;
  ::hasFailed = false;
  isArmed = true;
}

FailingNew::~FailingNew() {
  isArmed = false;
}

bool FailingNew::hasFailed() {
  return ::hasFailed;
}

FailingLargeNew::FailingLargeNew(std::size_t size) {
  assert(largeSize == SIZE_MAX);
  largeSize = size;
}

FailingLargeNew::~FailingLargeNew() {
  largeSize = SIZE_MAX;
}

}  // namespace blindfold
