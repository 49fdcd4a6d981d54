# What is installed for users: the program, its manual, its completions, the schemas of its output,
# and the pages about them. On macOS the prefix is the product's bundle; elsewhere the layout is that
# of GNUInstallDirs. The client as a library is BlindfoldPackage's.
#
# Components: programs, manuals, completions, schemas, documents; and development, which has the
# development helper too.
include(GNUInstallDirs)

if(APPLE)
  set(unlessAskedFor EXCLUDE_FROM_ALL)
  set(programDirectory Contents/Resources)
  set(dataDirectory Contents/Resources/share)
  set(manualDirectory "${dataDirectory}/man")
else()
  set(programDirectory "${CMAKE_INSTALL_BINDIR}")
  set(dataDirectory "${CMAKE_INSTALL_DATADIR}")
  set(manualDirectory "${CMAKE_INSTALL_MANDIR}")
endif()

set(share "${PROJECT_SOURCE_DIR}/share")
set(documents "${PROJECT_SOURCE_DIR}/docs")

# The universal program is no target: it is joined from its slices.
if(TARGET blindfoldctl)
  install(TARGETS blindfoldctl DESTINATION "${programDirectory}" COMPONENT programs)
else()
  install(PROGRAMS "${PROJECT_BINARY_DIR}/blindfoldctl"
    DESTINATION "${programDirectory}" COMPONENT programs)
endif()
install(FILES "${share}/man/man1/blindfoldctl.1"
  DESTINATION "${manualDirectory}/man1" COMPONENT manuals)
install(FILES "${share}/man/man5/blindfold.5"
  DESTINATION "${manualDirectory}/man5" COMPONENT manuals)
install(FILES "${share}/completions/blindfoldctl.bash" RENAME blindfoldctl
  DESTINATION "${dataDirectory}/bash-completion/completions" COMPONENT completions)
install(FILES "${share}/completions/_blindfoldctl"
  DESTINATION "${dataDirectory}/zsh/site-functions" COMPONENT completions)
install(FILES "${share}/completions/blindfoldctl.fish"
  DESTINATION "${dataDirectory}/fish/vendor_completions.d" COMPONENT completions)
install(DIRECTORY "${share}/blindfold/schemas"
  DESTINATION "${dataDirectory}/blindfold" COMPONENT schemas)
install(FILES "${documents}/output.md" "${documents}/scripting.md"
  DESTINATION "${dataDirectory}/doc/blindfold" COMPONENT documents)

if(TARGET blindfold-devhelper)
  install(TARGETS blindfold-devhelper
    DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT development ${unlessAskedFor})
  install(FILES "${share}/man/man1/blindfold-devhelper.1"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT development ${unlessAskedFor})
endif()

# Last, whatever the component: the list of what was installed, and what removes it.
install(CODE "
  set(blindfoldDataDirectory \"${dataDirectory}/blindfold\")
  if(CMAKE_INSTALL_COMPONENT STREQUAL development)
    set(blindfoldDataDirectory \"${CMAKE_INSTALL_DATADIR}/blindfold\")
  endif()
  set(blindfoldUninstall \"${PROJECT_SOURCE_DIR}/scripts/uninstall\")"
  ALL_COMPONENTS)
install(SCRIPT "${PROJECT_SOURCE_DIR}/cmake/install_removal.cmake" ALL_COMPONENTS)
