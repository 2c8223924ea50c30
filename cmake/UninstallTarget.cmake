# The target `uninstall`. Installing notes first which folders it is about to make, so that
# uninstalling removes these and no others: an empty /usr/local/include is not ours to remove.
# Installation rules run in the order of their declaration: include this ahead of the others.

set(qmsg_folder_record "${PROJECT_BINARY_DIR}/install_folders.txt")
set(qmsg_destinations
  "${CMAKE_INSTALL_INCLUDEDIR}/qmsg"
  "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  "${qmsg_package_dir}"
  "${qmsg_data_dir}/proto"
  "${CMAKE_INSTALL_DOCDIR}/docs/performance"
  "${CMAKE_INSTALL_DOCDIR}/python"
  "${CMAKE_INSTALL_DOCDIR}/tests/vectors")
file(GLOB qmsg_examples RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/examples/*")
list(FILTER qmsg_examples EXCLUDE REGEX "\\.") # files
list(TRANSFORM qmsg_examples PREPEND "${CMAKE_INSTALL_DOCDIR}/")
list(APPEND qmsg_destinations ${qmsg_examples})
if(TARGET qmsg_cli)
  list(APPEND qmsg_destinations "${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_LIBEXECDIR}/qmsg"
    "${qmsg_man_dir}"
    "${qmsg_bash_completion_dir}" "${qmsg_fish_completion_dir}" "${QMSG_ZSH_COMPLETION_DIR}")
endif()
if(QMSG_BUILD_DOCS)
  list(APPEND qmsg_destinations "${CMAKE_INSTALL_DOCDIR}/reference")
endif()

install(CODE "set(FOLDERS [[${qmsg_folder_record}]])\nset(DESTINATIONS [[${qmsg_destinations}]])")
install(SCRIPT cmake/note_new_folders.cmake)

add_custom_target(uninstall
  COMMAND "${CMAKE_COMMAND}" "-DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt"
    "-DFOLDERS=${qmsg_folder_record}" -P "${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake"
  COMMENT "Removing what the last install wrote" VERBATIM)
