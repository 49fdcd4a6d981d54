# A deployment is an information property list linked into a program: which helper it drives, and
# where that helper is installed.

# blindfold_deployment(TARGET program PROPERTY_LIST file): links the file into the program, byte for
# byte, and builds the program anew when the file changes.
function(blindfold_deployment)
  cmake_parse_arguments(PARSE_ARGV 0 deployment "" "TARGET;PROPERTY_LIST" "")
  cmake_path(ABSOLUTE_PATH deployment_PROPERTY_LIST NORMALIZE OUTPUT_VARIABLE propertyList)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${deployment_TARGET}_property_list.S")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/information_property_list.S.in" "${source}" @ONLY)
  set_source_files_properties("${source}" PROPERTIES OBJECT_DEPENDS "${propertyList}")
  target_sources(${deployment_TARGET} PRIVATE "${source}")
endfunction()

# blindfold_development_property_list(OUTPUT file HELPER path): writes the property list of the
# development deployment, whose helper is installed at the path.
function(blindfold_development_property_list)
  cmake_parse_arguments(PARSE_ARGV 0 development "" "OUTPUT;HELPER" "")
  blindfold_escape_xml(BLINDFOLD_DEVHELPER_PATH "${development_HELPER}")
  blindfold_escape_xml(BLINDFOLD_DEVELOPMENT_SERVICE "${BLINDFOLD_DEVELOPMENT_SERVICE}")
  configure_file("${PROJECT_SOURCE_DIR}/share/Info.development.plist.in"
                 "${development_OUTPUT}" @ONLY)
endfunction()

function(blindfold_escape_xml result text)
  string(REPLACE "&" "&amp;" text "${text}")
  string(REPLACE "<" "&lt;" text "${text}")
  string(REPLACE ">" "&gt;" text "${text}")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()
