extern "C" {
/// In place of the function by which the C library learns at the start of a program in which
/// directory its file is, for the sake of libraries that it may load later. A static program loads
/// none, so the answer is that the directory is not known, and a run has one system call less,
/// readlink(2).
const char* __wrap__dl_get_origin();   // NOLINT(*-identifier*): the linker's name
const char* __wrap__dl_get_origin() {  // NOLINT(*-identifier*)
  return reinterpret_cast<const char*>(-1);
}
}
