# Builds for macOS on Linux: zig's clang, libc++ and C headers, LLVM's tools for Mach-O files, and
# this project's declarations of what it uses of macOS's frameworks. scripts/install-zig installs
# the compiler.

set(CMAKE_SYSTEM_NAME Darwin)
# macOS 14's. CMake's idea of what the linker can do depends on it.
set(CMAKE_SYSTEM_VERSION 23)
set(CMAKE_SYSTEM_PROCESSOR arm64)

set(BLINDFOLD_MACOS_ARCHITECTURE "arm64" CACHE STRING "The architecture: arm64 or x86_64")
set(target_arm64 aarch64-macos.14.0)
set(target_x86_64 x86_64-macos.14.0)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES BLINDFOLD_MACOS_ARCHITECTURE)

get_filename_component(repository "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)
set(zig "${repository}/build/zig/zig")
if(NOT EXISTS "${zig}")
  message(FATAL_ERROR "The cross-compiler is not installed. Run scripts/install-zig.")
endif()
set(command_C cc)
set(command_CXX c++)
set(command_OBJCXX c++)
foreach(language IN ITEMS C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER
      "${zig}" ${command_${language}} -target ${target_${BLINDFOLD_MACOS_ARCHITECTURE}})
endforeach()
# It reads no headers that were compiled before.
set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)

find_program(CMAKE_AR NAMES llvm-ar-19 llvm-ar REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib-19 llvm-ranlib REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-19 llvm-install-name-tool REQUIRED)

# No SDK: what the compiler lacks is declared here.
set(CMAKE_OSX_SYSROOT "")
set(declarations "${CMAKE_CURRENT_LIST_DIR}/macos-declarations")
# The compiler's own way of naming the language makes CMake's a second one.
set(CMAKE_OBJCXX_FLAGS_INIT
    "-iframework ${declarations}/Frameworks -Wno-unused-command-line-argument")
file(GLOB_RECURSE BLINDFOLD_MACOS_STUBS "${declarations}/*.tbd")
foreach(kind IN ITEMS EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-F${declarations}/Frameworks -L${declarations}/lib")
endforeach()

set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE NEVER)
