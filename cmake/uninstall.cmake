# Removes the files that MANIFEST lists, and each folder below PREFIX that this leaves empty.
# DESTDIR is honoured as it is by `cmake --install`.

if(NOT EXISTS "${MANIFEST}")
  message(FATAL_ERROR "Nothing to remove: ${MANIFEST} does not exist. "
    "Run this in the build folder from which qmsg was installed.")
endif()

file(STRINGS "${MANIFEST}" files)
foreach(file IN LISTS files)
  message(STATUS "Removing: $ENV{DESTDIR}${file}")
  file(REMOVE "$ENV{DESTDIR}${file}")
  cmake_path(GET file PARENT_PATH folder)
  while(NOT folder STREQUAL PREFIX)
    cmake_path(IS_PREFIX PREFIX "${folder}" below_prefix)
    file(GLOB rest "$ENV{DESTDIR}${folder}/*" "$ENV{DESTDIR}${folder}/.*")
    if(NOT below_prefix OR rest)
      break()
    endif()
    file(REMOVE_RECURSE "$ENV{DESTDIR}${folder}")
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endforeach()
