# GNUstep's Foundation, with which the macOS adapters run on Linux.
#
# Sets BLINDFOLD_GNUSTEP_FOUND. When it is true, Objective-C++ is enabled and the target
# Blindfold::GNUstep carries what compiling and linking against GNUstep takes; otherwise
# BLINDFOLD_GNUSTEP_MISSING says what is not installed.

set(BLINDFOLD_GNUSTEP_FOUND FALSE)
set(BLINDFOLD_GNUSTEP_MISSING "")

find_program(BLINDFOLD_OBJCXX_COMPILER NAMES clang++-19 clang++-14 clang++)
find_path(GNUSTEP_INCLUDE_DIRECTORY Foundation/Foundation.h PATH_SUFFIXES GNUstep)
find_library(GNUSTEP_BASE_LIBRARY gnustep-base)
find_path(BLOCKS_INCLUDE_DIRECTORY Block.h)
find_library(BLOCKS_LIBRARY BlocksRuntime)

# GCC keeps its Objective-C headers and library beside its own.
file(GLOB gcc_directories "/usr/lib/gcc/*/*")
list(SORT gcc_directories COMPARE NATURAL ORDER DESCENDING)
find_path(GCC_OBJC_INCLUDE_DIRECTORY objc/runtime.h PATHS ${gcc_directories}
          PATH_SUFFIXES include NO_DEFAULT_PATH)
find_library(GCC_OBJC_LIBRARY objc PATHS ${gcc_directories} NO_DEFAULT_PATH)

foreach(needed IN ITEMS BLINDFOLD_OBJCXX_COMPILER GNUSTEP_INCLUDE_DIRECTORY GNUSTEP_BASE_LIBRARY
                        BLOCKS_INCLUDE_DIRECTORY BLOCKS_LIBRARY GCC_OBJC_INCLUDE_DIRECTORY
                        GCC_OBJC_LIBRARY)
  mark_as_advanced(${needed})
  if(NOT ${needed})
    list(APPEND BLINDFOLD_GNUSTEP_MISSING ${needed})
  endif()
endforeach()
if(BLINDFOLD_GNUSTEP_MISSING)
  return()
endif()

set(CMAKE_OBJCXX_COMPILER "${BLINDFOLD_OBJCXX_COMPILER}")
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

add_library(blindfold_gnustep INTERFACE)
add_library(Blindfold::GNUstep ALIAS blindfold_gnustep)
target_include_directories(blindfold_gnustep SYSTEM INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:${GNUSTEP_INCLUDE_DIRECTORY};${GCC_OBJC_INCLUDE_DIRECTORY};${BLOCKS_INCLUDE_DIRECTORY}>)
target_compile_definitions(blindfold_gnustep INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:GNUSTEP;GNUSTEP_BASE_LIBRARY=1;GNU_RUNTIME=1;_NATIVE_OBJC_EXCEPTIONS>)
target_compile_options(blindfold_gnustep INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fblocks;-fobjc-runtime=gcc;-fexceptions;-fobjc-exceptions;-fconstant-string-class=NSConstantString>)
find_package(Threads REQUIRED)
# The blocks runtime stands first: GNUstep's library has functions of the same names, which do not
# know the blocks that this compiler makes.
target_link_libraries(blindfold_gnustep INTERFACE
  "${BLOCKS_LIBRARY}" "${GNUSTEP_BASE_LIBRARY}" "${GCC_OBJC_LIBRARY}" Threads::Threads)
set(BLINDFOLD_GNUSTEP_FOUND TRUE)
