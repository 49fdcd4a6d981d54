# blindfold_room(NAME SOURCES file... USES room...): one folder's static library, blindfold_NAME.
# Headers are named from the top of the tree ("blindfold/model/hold.h").
function(blindfold_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;USES")
  add_library(blindfold_${name} STATIC ${room_SOURCES})
  target_include_directories(blindfold_${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  foreach(used IN LISTS room_USES)
    target_link_libraries(blindfold_${name} PUBLIC blindfold_${used})
  endforeach()
endfunction()
