# The property lists of this project's own deployments, written from the templates in share/.

# What ships. The version comes from project().
set(BLINDFOLD_PROPERTY_LIST "${PROJECT_BINARY_DIR}/share/Info.plist")
configure_file("${PROJECT_SOURCE_DIR}/share/Info.plist.in" "${BLINDFOLD_PROPERTY_LIST}" @ONLY)

# blindfold_development_property_list(OUTPUT file HELPER path): writes the property list of the
# development deployment, whose helper is installed at the path. $<CONFIG> in both stands for the
# configuration that is built.
function(blindfold_development_property_list)
  cmake_parse_arguments(PARSE_ARGV 0 development "" "OUTPUT;HELPER" "")
  blindfold_escape_xml(BLINDFOLD_DEVELOPMENT_SERVICE "${BLINDFOLD_DEVELOPMENT_SERVICE}")
  blindfold_configurations(configurations "${development_OUTPUT}")
  foreach(configuration IN LISTS configurations)
    string(REPLACE "$<CONFIG>" "${configuration}" helper "${development_HELPER}")
    string(REPLACE "$<CONFIG>" "${configuration}" output "${development_OUTPUT}")
    blindfold_escape_xml(BLINDFOLD_DEVHELPER_PATH "${helper}")
    configure_file("${PROJECT_SOURCE_DIR}/share/Info.development.plist.in" "${output}" @ONLY)
  endforeach()
endfunction()

function(blindfold_escape_xml result text)
  string(REPLACE "&" "&amp;" text "${text}")
  string(REPLACE "<" "&lt;" text "${text}")
  string(REPLACE ">" "&gt;" text "${text}")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()
