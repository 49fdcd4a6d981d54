# The library for other programs: one archive of all rooms that the helper's client is made of, the
# headers that its interface needs, and the package that find_package(Blindfold) finds. A project
# that adds this one by add_subdirectory links the same target. Beside it a shared library with the C
# interface alone.

find_package(Threads REQUIRED)
include(GNUInstallDirs)

if(APPLE)
  set(system macos)
else()
  set(system linux)
endif()
set(clientRooms
  text model platform platform_posix platform_${system} config authorization helperclient cli library)

set(clientHeaders
  authorization/client_authorization.h
  cli/cli_error.h
  cli/hold_selection.h
  config/deployment_values.h
  helperclient/helper_client.h
  helperclient/helper_client_error.h
  helperclient/run_task.h
  helperclient/task.h
  model/detection.h
  model/enumerations.h
  model/hold.h
  model/json/coding_error.h
  model/json/json_decoder.h
  model/json/json_encoder.h
  model/record.h
  text/enumeration_table.h)
list(TRANSFORM clientHeaders PREPEND "${PROJECT_SOURCE_DIR}/blindfold/")

add_library(blindfold STATIC)
add_library(Blindfold::helperclient ALIAS blindfold)
foreach(room IN LISTS clientRooms)
  target_sources(blindfold PRIVATE $<TARGET_OBJECTS:blindfold_${room}>)
endforeach()
target_compile_features(blindfold PUBLIC cxx_std_20)
target_link_libraries(blindfold PUBLIC Threads::Threads)
if(APPLE)
  target_link_libraries(blindfold PUBLIC
    "-framework Foundation" "-framework Security" "-framework CoreFoundation" -lobjc)
endif()
target_sources(blindfold PUBLIC
  FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${clientHeaders})
set_target_properties(blindfold PROPERTIES
  EXPORT_NAME helperclient LINKER_LANGUAGE CXX)

option(BLINDFOLD_SHARED_LIBRARY "Build the shared library of the C interface" ON)
if(BLINDFOLD_SHARED_LIBRARY)
  add_library(blindfold_shared SHARED)
  add_library(Blindfold::blindfold ALIAS blindfold_shared)
  foreach(room IN LISTS clientRooms)
    target_sources(blindfold_shared PRIVATE $<TARGET_OBJECTS:blindfold_${room}>)
  endforeach()
  get_target_property(needed blindfold INTERFACE_LINK_LIBRARIES)
  target_link_libraries(blindfold_shared PRIVATE ${needed})
  target_include_directories(blindfold_shared INTERFACE
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  set_target_properties(blindfold_shared PROPERTIES
    OUTPUT_NAME blindfold EXPORT_NAME blindfold LINKER_LANGUAGE CXX
    VERSION "${PROJECT_VERSION}" SOVERSION "${PROJECT_VERSION_MAJOR}")
  if(APPLE)
    set(exported "${PROJECT_SOURCE_DIR}/blindfold/library/exported_functions.txt")
    # The cross-compiler's linker takes no such list, and exports hidden names too.
    if(NOT CMAKE_CROSSCOMPILING)
      target_link_options(blindfold_shared PRIVATE "LINKER:-exported_symbols_list,${exported}")
    endif()
  else()
    set(exported "${PROJECT_SOURCE_DIR}/blindfold/library/exported_functions.map")
    # An input of the linker's: CMake quotes the path of one for the shell, unlike an option's.
    target_link_libraries(blindfold_shared PRIVATE "${exported}")
    target_link_options(blindfold_shared PRIVATE LINKER:--gc-sections)
  endif()
  set_property(TARGET blindfold_shared PROPERTY LINK_DEPENDS "${exported}")
endif()

# On a Mac the prefix of a plain install is the product's bundle, which takes the tool alone.
if(APPLE)
  set(unlessAskedFor EXCLUDE_FROM_ALL)
endif()

include(CMakePackageConfigHelpers)
set(packageDirectory "${CMAKE_INSTALL_LIBDIR}/cmake/Blindfold")
write_basic_package_version_file(BlindfoldConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/BlindfoldConfig.cmake.in BlindfoldConfig.cmake
  INSTALL_DESTINATION "${packageDirectory}" NO_SET_AND_CHECK_MACRO)
install(TARGETS blindfold EXPORT Blindfold
  ARCHIVE COMPONENT development ${unlessAskedFor}
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT development ${unlessAskedFor})
if(BLINDFOLD_SHARED_LIBRARY)
  install(TARGETS blindfold_shared EXPORT Blindfold
    LIBRARY COMPONENT development ${unlessAskedFor})
endif()
configure_file(cmake/version.h.in include/blindfold/version.h @ONLY)
install(
  FILES
    "${CMAKE_CURRENT_BINARY_DIR}/include/blindfold/version.h"
    blindfold/library/blindfold.h
    blindfold/library/module.modulemap
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/blindfold" COMPONENT development ${unlessAskedFor})
set(BLINDFOLD_SYSTEM_LIBRARIES -pthread)
if(APPLE)
  set(BLINDFOLD_SYSTEM_LIBRARIES
      "-framework Foundation -framework Security -framework CoreFoundation -lobjc")
endif()
configure_file(cmake/blindfold.pc.in blindfold.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/blindfold.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development ${unlessAskedFor})
install(EXPORT Blindfold NAMESPACE Blindfold:: FILE BlindfoldTargets.cmake
  DESTINATION "${packageDirectory}" COMPONENT development ${unlessAskedFor})
install(
  FILES
    "${CMAKE_CURRENT_BINARY_DIR}/BlindfoldConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/BlindfoldConfigVersion.cmake"
    cmake/BlindfoldDeployment.cmake
    cmake/information_property_list.cpp.in
  DESTINATION "${packageDirectory}" COMPONENT development ${unlessAskedFor})
