# Runs at the end of an installation: adds the installed files to the list that `uninstall` works
# through, both in `blindfoldDataDirectory`. The list's first line leads from there to the prefix;
# the others are relative to the prefix.

set(prefix "${CMAKE_INSTALL_PREFIX}")
set(directory "${prefix}/${blindfoldDataDirectory}")
file(INSTALL "${blindfoldUninstall}" DESTINATION "${directory}" USE_SOURCE_PERMISSIONS)

set(list "$ENV{DESTDIR}${directory}/installed-files")
set(files "")
if(EXISTS "${list}")
  file(STRINGS "${list}" files)
  list(POP_FRONT files)
endif()
foreach(file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
  file(RELATIVE_PATH file "${prefix}" "${file}")
  list(APPEND files "${file}")
endforeach()
list(REMOVE_DUPLICATES files)
list(SORT files)

file(RELATIVE_PATH wayToPrefix "${directory}" "${prefix}")
list(PREPEND files "${wayToPrefix}")
list(JOIN files "\n" lines)
file(WRITE "${list}" "${lines}\n")
