#include <unistd.h>

#include <csignal>
#include <cstdlib>

// Linked into every program of a build that measures coverage: writes the profile of processes that
// end by _exit, _Exit or abort too, which the profile's own exit handler does not see.

extern "C" {
int __llvm_profile_write_file();
[[noreturn]] void __real__exit(int status);
[[noreturn]] void __real__Exit(int status);
[[noreturn]] void __real_abort();

[[noreturn]] void __wrap__exit(int status) {
  __llvm_profile_write_file();
  __real__exit(status);
}

[[noreturn]] void __wrap__Exit(int status) {
  __llvm_profile_write_file();
  __real__Exit(status);
}

[[noreturn]] void __wrap_abort() {
  __llvm_profile_write_file();
  __real_abort();
}
}
