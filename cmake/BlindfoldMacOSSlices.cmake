# Programs for several architectures, without Xcode's compiler, which would make them at once: this
# project is built once for each architecture in BLINDFOLD_MACOS_SLICES, in a directory of its own,
# and the slices of each program are joined.
include(ExternalProject)

find_program(BLINDFOLD_LIPO NAMES llvm-lipo-19 llvm-lipo REQUIRED)
set(programs blindfoldctl blindfold-devhelper)

foreach(architecture IN LISTS BLINDFOLD_MACOS_SLICES)
  set(directory "${PROJECT_BINARY_DIR}/${architecture}")
  list(TRANSFORM programs PREPEND "${directory}/" OUTPUT_VARIABLE slices)
  ExternalProject_Add(blindfold-${architecture}
    PREFIX "${directory}/external"
    SOURCE_DIR "${PROJECT_SOURCE_DIR}"
    BINARY_DIR "${directory}"
    CMAKE_ARGS
      "-DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}"
      "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}"
      "-DBLINDFOLD_MACOS_ARCHITECTURE=${architecture}"
      # Only a Mac can run them; here they compile and link.
      "-DBUILD_TESTING=${BUILD_TESTING}"
      "-DCMAKE_COMPILE_WARNING_AS_ERROR=${CMAKE_COMPILE_WARNING_AS_ERROR}"
    BUILD_COMMAND "${CMAKE_COMMAND}" --build "${directory}"
    BUILD_ALWAYS TRUE
    BUILD_BYPRODUCTS ${slices}
    INSTALL_COMMAND "")
  list(APPEND projects blindfold-${architecture})
endforeach()

foreach(program IN LISTS programs)
  set(universal "${PROJECT_BINARY_DIR}/${program}")
  list(TRANSFORM BLINDFOLD_MACOS_SLICES REPLACE "(.+)" "${PROJECT_BINARY_DIR}/\\1/${program}"
       OUTPUT_VARIABLE slices)
  add_custom_command(OUTPUT "${universal}"
    COMMAND "${BLINDFOLD_LIPO}" -create ${slices} -output "${universal}"
    DEPENDS ${slices} ${projects}
    VERBATIM)
  add_custom_target(universal-${program} ALL DEPENDS "${universal}")
endforeach()
