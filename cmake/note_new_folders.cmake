# Adds to the file FOLDERS each folder that has to be made before there is one for each of the
# DESTINATIONS. What an earlier installation noted stays: its folders exist by now.

foreach(folder IN LISTS DESTINATIONS)
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  set(folder "$ENV{DESTDIR}${folder}")
  cmake_path(ABSOLUTE_PATH folder NORMALIZE)
  while(NOT EXISTS "${folder}")
    file(APPEND "${FOLDERS}" "${folder}\n")
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endforeach()
