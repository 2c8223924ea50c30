# Removes the files that MANIFEST lists, then each folder of the list FOLDERS that is empty.
# DESTDIR is honoured as it is by `cmake --install`.

if(NOT EXISTS "${MANIFEST}")
  message(FATAL_ERROR "Nothing to remove: ${MANIFEST} does not exist. "
    "Run this in the build folder from which qmsg was installed.")
endif()

file(STRINGS "${MANIFEST}" listed)
set(installed)
foreach(file IN LISTS listed)
  if(EXISTS "$ENV{DESTDIR}${file}" OR IS_SYMLINK "$ENV{DESTDIR}${file}")
    list(APPEND installed "$ENV{DESTDIR}${file}")
  endif()
endforeach()
if(NOT installed)
  message(FATAL_ERROR "Nothing to remove: no file of the list ${MANIFEST} exists "
    "(DESTDIR: '$ENV{DESTDIR}'). Set DESTDIR as it was for the installation.")
endif()

foreach(file IN LISTS installed)
  message(STATUS "Removing: ${file}")
  file(REMOVE "${file}")
  if(EXISTS "${file}" OR IS_SYMLINK "${file}")
    message(FATAL_ERROR "Cannot remove ${file}. Uninstall as the user who installed it.")
  endif()
endforeach()

set(folders)
if(EXISTS "${FOLDERS}")
  file(STRINGS "${FOLDERS}" folders)
  list(REMOVE_DUPLICATES folders)
  list(SORT folders ORDER DESCENDING)
endif()
foreach(folder IN LISTS folders)
  # Unlike CMake's own commands, rmdir never removes a folder that others have put something in.
  execute_process(COMMAND rmdir "${folder}" ERROR_QUIET)
endforeach()
file(REMOVE "${MANIFEST}" "${FOLDERS}")
