#include "tests/support/failing_new.h"

#include <cassert>
#include <cstdlib>
#include <new>

namespace {
/// The allocations that still succeed, if one is to fail.
thread_local std::size_t successesLeft = 0;
thread_local std::size_t watchedSize = 0;
thread_local bool isArmed = false;
thread_local bool hasFailed = false;

bool fails(std::size_t size) {
  if (!isArmed || size < watchedSize || successesLeft-- > 0) return false;
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

FailingNew::FailingNew(std::size_t successes, std::size_t smallestSize) {
  assert(!isArmed);
  successesLeft = successes;
  watchedSize = smallestSize;
  ::hasFailed = false;
  isArmed = true;
}

FailingNew::~FailingNew() {
  isArmed = false;
}

bool FailingNew::hasFailed() {
  return ::hasFailed;
}

}  // namespace blindfold
