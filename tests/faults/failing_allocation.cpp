#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

// Allocation that fails on demand. Linked with --wrap for each of the three, so that the language's
// and the library's own calls come here too. FAILING_ALLOCATION=N in the environment lets the N-th
// call fail, N+ that and all behind it. The C library's own start-up is over when counting begins:
// it ends the process by itself where memory fails it. FAILING_ALLOCATION_COUNT=FILE makes the file
// as many bytes long as there are calls.

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
}

namespace {
bool isCounting = false;
unsigned long callCount = 0;
int countFile = -1;

/// Counts one call, and returns whether it fails.
bool fails() {
  if (!isCounting) return false;
  ++callCount;
  if (countFile >= 0) countFile = write(countFile, "", 1) == 1 ? countFile : -1;
  const char* const which = std::getenv("FAILING_ALLOCATION");
  if (which == nullptr) return false;
  char* rest = nullptr;
  const unsigned long first = std::strtoul(which, &rest, 10);
  return callCount == first || (*rest == '+' && callCount > first);
}

/// Runs before the constructors of the program and of the C++ library.
[[gnu::constructor(101)]] void beginToCount() {
  const char* const path = std::getenv("FAILING_ALLOCATION_COUNT");
  if (path != nullptr) countFile = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  isCounting = true;
}
}  // namespace

extern "C" {
void* __wrap_malloc(std::size_t size) {
  return fails() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return fails() ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, std::size_t size) {
  return fails() ? nullptr : __real_realloc(block, size);
}
}
