#include "live_objects.h"

#import <Foundation/Foundation.h>
#import <Foundation/NSDebug.h>

#include <atomic>

namespace {
std::atomic<long> blockReferences{0};
}  // namespace

// The linker sends every copy and release of a block here (--wrap).
extern "C" {

void* __real__Block_copy(const void* block);
void __real__Block_release(const void* block);

void* __wrap__Block_copy(const void* block) {
  ++blockReferences;
  return __real__Block_copy(block);
}

void __wrap__Block_release(const void* block) {
  --blockReferences;
  __real__Block_release(block);
}

}  // extern "C"

namespace blindfold {

void countObjects() {
  GSDebugAllocationActive(YES);
}

int liveObjects() {
  @autoreleasepool {
    int live = 0;
    Class* const classes = GSDebugAllocationClassList();
    for (Class* each = classes; *each != Nil; ++each) live += GSDebugAllocationCount(*each);
    NSZoneFree(NSDefaultMallocZone(), classes);
    return live;
  }
}

long liveBlocks() {
  return blockReferences;
}

}  // namespace blindfold
