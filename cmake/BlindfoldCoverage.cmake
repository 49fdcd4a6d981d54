# Builds that measure which lines, branches and conditions the tests reach (clang only): scripts/coverage.
# Threads count at the same time.
add_compile_options(
  -fprofile-instr-generate -fprofile-update=atomic -fcoverage-mapping -fcoverage-mcdc)
add_link_options(-fprofile-instr-generate LINKER:--wrap=_exit,--wrap=_Exit,--wrap=abort)

# An object of every link, which no library or export set has to know.
set(source "${PROJECT_SOURCE_DIR}/tests/support/coverage_at_any_end.cpp")
set(object "${PROJECT_BINARY_DIR}/coverage_at_any_end.o")
execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -O1 -fPIC -c "${source}" -o "${object}"
  COMMAND_ERROR_IS_FATAL ANY)
add_link_options("${object}")
