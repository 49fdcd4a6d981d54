namespace blindfold {
namespace {
/// The program's version, in the form that what(1) looks for. Nothing refers to it, so the compiler
/// and a linker that removes what is not referred to are told to keep it.
#ifdef __APPLE__
[[gnu::section("__TEXT,__version,regular,no_dead_strip")]]
#elif __has_cpp_attribute(gnu::retain)
[[gnu::retain]]
#endif
[[gnu::used]] constexpr char version[] =
    "@(#)PROGRAM:blindfoldctl  PROJECT:Blindfold-" BLINDFOLD_VERSION;
}  // namespace
}  // namespace blindfold
