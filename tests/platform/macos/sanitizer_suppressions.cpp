// The sanitizers' suppressions for GCC's Objective-C runtime and GNUstep's library, which are
// not built for them: memory kept for the life of the process, and counts of references that the
// thread sanitizer cannot see. The adapters' own objects and blocks are counted (live_objects.h).
// NOLINTBEGIN(readability-identifier-naming): the sanitizers' names
extern "C" {

const char* __lsan_default_suppressions();
const char* __tsan_default_suppressions();

const char* __lsan_default_suppressions() {
  return "leak:libobjc.so\nleak:libgnustep-base.so\n";
}

const char* __tsan_default_suppressions() {
  return "race:libgnustep-base.so\ndeadlock:libgnustep-base.so\ndeadlock:libobjc.so\n";
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
