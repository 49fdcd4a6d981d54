# blindfold_library(ROOM [SYSTEM] SOURCES file... [USES room...]): the static library of one room,
# a folder of blindfold/, or devhelper and its folders. Its target is blindfold_ROOM, with "_" for "/".
#
# USES names each room whose headers this one includes, SYSTEM says that it includes the operating
# system's. A test compares both with the sources (tests/tree/check_includes.py).
# Headers are named from the top of the tree ("blindfold/model/hold.h").
function(blindfold_library room)
  cmake_parse_arguments(PARSE_ARGV 1 library "SYSTEM" "" "SOURCES;USES")
  string(REPLACE "/" "_" name "${room}")
  string(REPLACE "/" "_" used "${library_USES}")
  list(TRANSFORM used PREPEND blindfold_)
  add_library(blindfold_${name} STATIC ${library_SOURCES})
  target_include_directories(blindfold_${name} PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>")
  target_link_libraries(blindfold_${name} PUBLIC ${used})
endfunction()
