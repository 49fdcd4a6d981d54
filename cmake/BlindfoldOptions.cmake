# How everything here is compiled and linked. A warning ends the build of whoever sets
# CMAKE_COMPILE_WARNING_AS_ERROR, as the presets do.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

get_property(BLINDFOLD_MULTI_CONFIG GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT BLINDFOLD_MULTI_CONFIG AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "The build type" FORCE)
endif()

# Where the programs are built: a directory for each configuration of a generator that has several.
set(BLINDFOLD_PROGRAM_DIRECTORY "${PROJECT_BINARY_DIR}")
if(BLINDFOLD_MULTI_CONFIG)
  string(APPEND BLINDFOLD_PROGRAM_DIRECTORY "/$<CONFIG>")
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(APPLE)
  enable_language(OBJCXX)
  set(CMAKE_OBJCXX_STANDARD 20)
  set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
  set(CMAKE_OBJCXX_EXTENSIONS OFF)
  foreach(language IN ITEMS CXX OBJCXX)
    set(CMAKE_${language}_VISIBILITY_PRESET hidden)
  endforeach()
  set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
endif()

set(BLINDFOLD_SANITIZERS "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
option(BLINDFOLD_FUZZERS "Build the fuzzers (clang only)" OFF)
set(BLINDFOLD_SYSTEM_DOMAIN_DIRECTORY "${PROJECT_BINARY_DIR}/services" CACHE STRING
    "The directory of the sockets of the Linux platform's services")
set(BLINDFOLD_DEVELOPMENT_SERVICE "app.blindfold.helper.dev" CACHE STRING
    "The service name of the development deployment")

if(PROJECT_IS_TOP_LEVEL)
  add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(NOT BLINDFOLD_SANITIZERS)
    # On macOS work runs on threads with stacks of 512 KiB: no function takes an eighth of one.
    add_compile_options(-Wframe-larger-than=65535)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 sees an overlap in every "text" + string: its bug 105651.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
  endif()
endif()
add_compile_options($<$<NOT:$<CONFIG:Debug>>:-ffunction-sections>
                    $<$<NOT:$<CONFIG:Debug>>:-fdata-sections>)

# On Linux; Apple's compilers do the like by themselves.
option(BLINDFOLD_HARDENING "Position-independent programs unless they are static, protected stacks, \
checked copies, relocated data read-only" ON)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  # The library, which may become part of another program's shared library.
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND BLINDFOLD_HARDENING AND NOT BLINDFOLD_SANITIZERS)
  check_cxx_compiler_flag(-fcf-protection BLINDFOLD_HAS_CONTROL_FLOW_PROTECTION)
  add_compile_options(
    -fstack-protector-strong
    $<$<BOOL:${BLINDFOLD_HAS_CONTROL_FLOW_PROTECTION}>:-fcf-protection>
    # Checked copies need the optimiser.
    "$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>")
  add_link_options(LINKER:-z,relro LINKER:-z,now)
endif()

option(BLINDFOLD_COVERAGE "Measure which lines, branches and conditions run (clang only)" OFF)
if(BLINDFOLD_COVERAGE)
  include(BlindfoldCoverage)
endif()

if(BLINDFOLD_SANITIZERS)
  add_compile_options(-fsanitize=${BLINDFOLD_SANITIZERS} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BLINDFOLD_SANITIZERS})
endif()

# Without the dynamic linker a program starts in half the time. Such a program is not position
# independent: relocating itself costs it more than a twentieth of a run (docs/performance.md).
set(staticProgramSource "${CMAKE_CURRENT_LIST_DIR}/static_program.cpp")
set(startUpScripts
    "${CMAKE_CURRENT_LIST_DIR}/start_up.ld" "${CMAKE_CURRENT_LIST_DIR}/start_up_order.ld")
list(TRANSFORM startUpScripts PREPEND "LINKER:-T," OUTPUT_VARIABLE startUpOptions)
set(staticByDefault OFF)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT BLINDFOLD_SANITIZERS)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static)
  check_cxx_source_compiles("#include <string>\nint main() { return std::stoi(\"0\"); }"
                            BLINDFOLD_LINKS_STATIC_PROGRAMS)
  list(APPEND CMAKE_REQUIRED_LINK_OPTIONS ${startUpOptions})
  check_cxx_source_compiles("int main() {}" BLINDFOLD_PLACES_START_UP_CODE)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  set(staticByDefault ${BLINDFOLD_LINKS_STATIC_PROGRAMS})
endif()
option(BLINDFOLD_STATIC_PROGRAMS "Link the programs of a release statically (Linux)"
       ${staticByDefault})

# Links a program the way it ships: without the sections and symbols that nobody uses, and, on Linux,
# without libraries where BLINDFOLD_STATIC_PROGRAMS says so.
function(blindfold_link_for_shipping target)
  if(APPLE)
    target_link_options(${target} PRIVATE -Wl,-dead_strip -Wl,-S)
  endif()
  if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR BLINDFOLD_SANITIZERS)
    return()
  endif()
  set(static $<AND:$<CONFIG:Release>,$<BOOL:${BLINDFOLD_STATIC_PROGRAMS}>>)
  target_link_options(${target} PRIVATE
    $<IF:${static},-static,$<$<BOOL:${BLINDFOLD_HARDENING}>:-pie>>
    # Exceptions find their way by a sorted table in the file. Without these GCC has a static program
    # register its unsorted tables, and the first exception sorts them, which takes milliseconds.
    "$<${static}:LINKER:--eh-frame-hdr>"
    "$<${static}:LINKER:--wrap=__register_frame_info>"
    "$<${static}:LINKER:--wrap=__deregister_frame_info>"
    "$<${static}:LINKER:--wrap=_dl_get_origin>")
  target_sources(${target} PRIVATE "$<${static}:${staticProgramSource}>")
  if(BLINDFOLD_PLACES_START_UP_CODE)
    target_link_options(${target} PRIVATE "$<${static}:${startUpOptions}>")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${startUpScripts})
  endif()
  target_link_options(${target} PRIVATE "$<$<CONFIG:Release>:-s;-Wl,--gc-sections>")
endfunction()
