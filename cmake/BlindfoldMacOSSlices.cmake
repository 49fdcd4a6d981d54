# One program for several architectures, without Xcode's compiler, which would make it at once: this
# project is built once for each architecture in BLINDFOLD_MACOS_SLICES, in a directory of its own,
# and the slices are joined.
include(ExternalProject)

find_program(BLINDFOLD_LIPO NAMES llvm-lipo-19 llvm-lipo REQUIRED)
set(universal "${PROJECT_BINARY_DIR}/blindfoldctl")

foreach(architecture IN LISTS BLINDFOLD_MACOS_SLICES)
  set(directory "${PROJECT_BINARY_DIR}/${architecture}")
  ExternalProject_Add(blindfoldctl-${architecture}
    PREFIX "${directory}/external"
    SOURCE_DIR "${PROJECT_SOURCE_DIR}"
    BINARY_DIR "${directory}"
    CMAKE_ARGS
      "-DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}"
      "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}"
      "-DBLINDFOLD_MACOS_ARCHITECTURE=${architecture}"
      -DBUILD_TESTING=OFF
      "-DCMAKE_COMPILE_WARNING_AS_ERROR=${CMAKE_COMPILE_WARNING_AS_ERROR}"
    BUILD_COMMAND "${CMAKE_COMMAND}" --build "${directory}" --target blindfoldctl
    BUILD_ALWAYS TRUE
    BUILD_BYPRODUCTS "${directory}/blindfoldctl"
    INSTALL_COMMAND "")
  list(APPEND slices "${directory}/blindfoldctl")
  list(APPEND projects blindfoldctl-${architecture})
endforeach()

add_custom_command(OUTPUT "${universal}"
  COMMAND "${BLINDFOLD_LIPO}" -create ${slices} -output "${universal}"
  DEPENDS ${slices} ${projects}
  VERBATIM)
add_custom_target(universal ALL DEPENDS "${universal}")
