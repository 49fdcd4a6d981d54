# What other programs build against: one static library of all rooms that the helper's client is
# made of, the headers that its interface needs, and the package that find_package(Blindfold) finds.

set(clientRooms text model platform config authorization helperclient)

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

add_library(blindfold_client STATIC)
foreach(room IN LISTS clientRooms)
  target_sources(blindfold_client PRIVATE $<TARGET_OBJECTS:blindfold_${room}>)
endforeach()
target_compile_features(blindfold_client PUBLIC cxx_std_20)
target_sources(blindfold_client PUBLIC
  FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${clientHeaders})
set_target_properties(blindfold_client PROPERTIES
  OUTPUT_NAME blindfold EXPORT_NAME helperclient LINKER_LANGUAGE CXX
  VERIFY_INTERFACE_HEADER_SETS ON)

# On a Mac the prefix of a plain install is the product's bundle, which takes the tool alone.
if(APPLE)
  set(unlessAskedFor EXCLUDE_FROM_ALL)
endif()

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(packageDirectory "${CMAKE_INSTALL_LIBDIR}/cmake/Blindfold")
write_basic_package_version_file(BlindfoldConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(TARGETS blindfold_client EXPORT Blindfold
  ARCHIVE COMPONENT development ${unlessAskedFor}
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT development ${unlessAskedFor})
install(EXPORT Blindfold NAMESPACE Blindfold:: FILE BlindfoldConfig.cmake
  DESTINATION "${packageDirectory}" COMPONENT development ${unlessAskedFor})
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/BlindfoldConfigVersion.cmake"
  DESTINATION "${packageDirectory}" COMPONENT development ${unlessAskedFor})
