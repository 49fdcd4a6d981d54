// What GCC's Objective-C runtime and GNUstep's library keep for the life of the process is no leak
// of this program's. The sanitizer asks here; objects and blocks of the adapters' are counted by
// tests of their own (live_objects.h).
extern "C" const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions() {
  return "leak:libobjc.so\nleak:libgnustep-base.so\n";
}
