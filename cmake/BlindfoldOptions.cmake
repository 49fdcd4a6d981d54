# How everything here is compiled and linked.

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
set(BLINDFOLD_SYSTEM_DOMAIN_DIRECTORY "/run/blindfold" CACHE STRING
    "Where the sockets of the Linux platform's services live")
set(BLINDFOLD_DEVELOPMENT_SERVICE "app.blindfold.helper.dev" CACHE STRING
    "The service name of the development deployment")

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 sees an overlap in every "text" + string: its bug 105651.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_options(-ffunction-sections -fdata-sections)
endif()

if(BLINDFOLD_SANITIZERS)
  add_compile_options(-fsanitize=${BLINDFOLD_SANITIZERS} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BLINDFOLD_SANITIZERS})
endif()

# Links a program the way it ships: small and without debugging symbols on macOS; alone, small and without symbols on Linux.
function(blindfold_link_for_shipping target)
  if(APPLE)
    target_link_options(${target} PRIVATE -Wl,-dead_strip -Wl,-S)
  endif()
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND CMAKE_BUILD_TYPE STREQUAL "Release"
     AND NOT BLINDFOLD_SANITIZERS)
    target_link_options(${target} PRIVATE -static -s -Wl,--gc-sections)
  endif()
endfunction()
