# Linker options for an ELF shared library. Included by CMakeLists.txt.
target_link_options(qmsg PRIVATE
  "LINKER:--version-script=${exported_names}"
  # The library uses its own definitions, except for this data.
  "LINKER:--dynamic-list=${CMAKE_CURRENT_SOURCE_DIR}/shared_data.list"
  # The runtime keeps pointers into the library for as long as the process lives.
  LINKER:-z,nodelete)
set_property(TARGET qmsg APPEND PROPERTY
  LINK_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/shared_data.list")
