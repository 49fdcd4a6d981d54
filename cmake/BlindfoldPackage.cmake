# The library for other programs: one archive of all rooms that the helper's client is made of, the
# headers that its interface needs, and the package that find_package(Blindfold) finds. A project
# that adds this one by add_subdirectory links the same target.

if(APPLE)
  set(system macos)
else()
  set(system linux)
endif()
set(clientRooms
  text model platform platform_posix platform_${system} config authorization helperclient)

set(clientHeaders
  authorization/client_authorization.h
  helperclient/helper_client.h
  helperclient/helper_client_error.h
  helperclient/run_task.h
  helperclient/task.h
  model/detection.h
  model/enumerations.h
  model/hold.h
  model/json/coding_error.h
  model/json/json_decoder.h
  model/record.h
  platform/bundle.h
  platform/code_signing.h
  platform/dictionary_value.h
  platform/file_manager.h
  platform/file_url.h
  platform/helper_connection.h
  platform/helper_protocol.h
  platform/main_loop.h
  platform/platform.h
  platform/platform_error.h
  platform/timed_work.h
  text/enumeration_table.h)
list(TRANSFORM clientHeaders PREPEND "${PROJECT_SOURCE_DIR}/blindfold/")

add_library(blindfold STATIC)
add_library(Blindfold::helperclient ALIAS blindfold)
foreach(room IN LISTS clientRooms)
  target_sources(blindfold PRIVATE $<TARGET_OBJECTS:blindfold_${room}>)
endforeach()
target_compile_features(blindfold PUBLIC cxx_std_20)
target_sources(blindfold PUBLIC
  FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${clientHeaders})
set_target_properties(blindfold PROPERTIES
  EXPORT_NAME helperclient LINKER_LANGUAGE CXX VERIFY_INTERFACE_HEADER_SETS ON)

# On a Mac the prefix of a plain install is the product's bundle, which takes the tool alone.
if(APPLE)
  set(unlessAskedFor EXCLUDE_FROM_ALL)
endif()

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(packageDirectory "${CMAKE_INSTALL_LIBDIR}/cmake/Blindfold")
write_basic_package_version_file(BlindfoldConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/BlindfoldConfig.cmake.in BlindfoldConfig.cmake
  INSTALL_DESTINATION "${packageDirectory}" NO_SET_AND_CHECK_MACRO)
install(TARGETS blindfold EXPORT Blindfold
  ARCHIVE COMPONENT development ${unlessAskedFor}
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT development ${unlessAskedFor})
install(EXPORT Blindfold NAMESPACE Blindfold:: FILE BlindfoldTargets.cmake
  DESTINATION "${packageDirectory}" COMPONENT development ${unlessAskedFor})
install(
  FILES
    "${CMAKE_CURRENT_BINARY_DIR}/BlindfoldConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/BlindfoldConfigVersion.cmake"
    cmake/BlindfoldDeployment.cmake
    cmake/information_property_list.cpp.in
  DESTINATION "${packageDirectory}" COMPONENT development ${unlessAskedFor})
