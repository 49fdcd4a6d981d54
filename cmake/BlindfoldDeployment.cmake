# A deployment is an information property list linked into a program: which helper it drives, and
# where that helper is installed. The package installs this file for the programs of others.

set(BLINDFOLD_PROPERTY_LIST_SOURCE "${CMAKE_CURRENT_LIST_DIR}/information_property_list.cpp.in")

# blindfold_deployment(TARGET program PROPERTY_LIST file): links the file into the program, byte for
# byte, and builds the program anew when the file changes. $<CONFIG> in the file's path stands for
# the configuration that is built.
function(blindfold_deployment)
  cmake_parse_arguments(PARSE_ARGV 0 deployment "" "TARGET;PROPERTY_LIST" "")
  cmake_path(ABSOLUTE_PATH deployment_PROPERTY_LIST NORMALIZE OUTPUT_VARIABLE propertyList)
  blindfold_configurations(configurations "${propertyList}")
  foreach(configuration IN LISTS configurations)
    string(REPLACE "$<CONFIG>" "${configuration}" propertyListPath "${propertyList}")
    string(REGEX REPLACE "([\\\"])" "\\\\\\1" propertyListLiteral "${propertyListPath}")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/${deployment_TARGET}_${configuration}_property_list.cpp")
    configure_file("${BLINDFOLD_PROPERTY_LIST_SOURCE}" "${source}" @ONLY)
    set_source_files_properties("${source}" PROPERTIES OBJECT_DEPENDS "${propertyListPath}")
    if(configuration STREQUAL "any")
      target_sources(${deployment_TARGET} PRIVATE "${source}")
    else()
      target_sources(${deployment_TARGET} PRIVATE "$<$<CONFIG:${configuration}>:${source}>")
    endif()
  endforeach()
endfunction()

# The configurations for which $<CONFIG> in `text` stands; "any" when it does not occur.
function(blindfold_configurations result text)
  get_property(several GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
  set(configurations any)
  if(text MATCHES "\\$<CONFIG>")
    set(configurations ${CMAKE_BUILD_TYPE})
    if(several)
      set(configurations ${CMAKE_CONFIGURATION_TYPES})
    endif()
  endif()
  set(${result} "${configurations}" PARENT_SCOPE)
endfunction()
