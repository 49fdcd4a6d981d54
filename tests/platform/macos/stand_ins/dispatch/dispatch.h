#pragma once

// A stand-in for dispatch on a system without it: the functions that the adapters use, over
// standard threads. Like the real one it keeps a delayed block until its time has come, cancelled
// or not.

#include <cstdint>

/// How many threads serve the global queue.
constexpr int globalQueueThreads = 4;

extern "C" {

typedef void (^dispatch_block_t)(void);
typedef struct dispatch_queue_s* dispatch_queue_t;
typedef std::uint64_t dispatch_time_t;
typedef unsigned long dispatch_block_flags_t;

enum : unsigned int { QOS_CLASS_UTILITY = 0x11 };
enum : dispatch_time_t { DISPATCH_TIME_NOW = 0 };
constexpr std::uint64_t NSEC_PER_SEC = 1000000000;

dispatch_queue_t dispatch_get_main_queue(void);
dispatch_queue_t dispatch_get_global_queue(std::intptr_t identifier, std::uintptr_t flags);
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t nanoseconds);
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
dispatch_block_t dispatch_block_create(dispatch_block_flags_t flags, dispatch_block_t block);
void dispatch_block_cancel(dispatch_block_t block);
[[noreturn]] void dispatch_main(void);

}  // extern "C"
