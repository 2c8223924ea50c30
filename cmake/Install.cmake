# What `cmake --install` puts where, and how other projects find it: qmsg_runtime is what a program
# needs to run, qmsg_development what it needs to be built, qmsg_tools the command-line tool.

include(CMakePackageConfigHelpers)

set(qmsg_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/qmsg")
set(qmsg_data_dir "${CMAKE_INSTALL_DATADIR}/qmsg")
set(qmsg_man_dir "${CMAKE_INSTALL_MANDIR}/man1")
# Below /usr and /usr/local each shell looks into its folder by itself. Only Debian's zsh has another
# one for packages.
set(qmsg_bash_completion_dir "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
set(qmsg_fish_completion_dir "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
set(QMSG_ZSH_COMPLETION_DIR "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" CACHE STRING
  "Where the completions for zsh are installed")

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/UninstallTarget.cmake)

  # With the folders of the source tree, since the pages link to each other.
  install(FILES CHANGELOG.md README.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    COMPONENT qmsg_development)
  install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DOCDIR}" USE_SOURCE_PERMISSIONS
    COMPONENT qmsg_development
    PATTERN examples/CMakeLists.txt EXCLUDE PATTERN __pycache__ EXCLUDE)
  install(FILES python/README.md DESTINATION "${CMAKE_INSTALL_DOCDIR}/python"
    COMPONENT qmsg_development)
  # Golden bytes, for tests of other implementations.
  install(DIRECTORY tests/vectors DESTINATION "${CMAKE_INSTALL_DOCDIR}/tests"
    COMPONENT qmsg_development FILES_MATCHING PATTERN "*.md" PATTERN "*.txt")
endif()

install(TARGETS qmsg EXPORT qmsgTargets
  LIBRARY COMPONENT qmsg_runtime NAMELINK_COMPONENT qmsg_development
  RUNTIME COMPONENT qmsg_runtime ARCHIVE COMPONENT qmsg_development)
install(DIRECTORY "${PROJECT_BINARY_DIR}/src/generated/qmsg"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT qmsg_development
  FILES_MATCHING PATTERN "*.pb.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/proto" DESTINATION "${qmsg_data_dir}"
  COMPONENT qmsg_development FILES_MATCHING PATTERN "*.proto")
install(FILES "${PROJECT_BINARY_DIR}/src/generated/qmsg.desc" DESTINATION "${qmsg_data_dir}"
  COMPONENT qmsg_development)

install(EXPORT qmsgTargets NAMESPACE qmsg:: DESTINATION "${qmsg_package_dir}"
  COMPONENT qmsg_development)
configure_package_config_file(cmake/qmsgConfig.cmake.in "${PROJECT_BINARY_DIR}/qmsgConfig.cmake"
  INSTALL_DESTINATION "${qmsg_package_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qmsgConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qmsgConfig.cmake"
  "${PROJECT_BINARY_DIR}/qmsgConfigVersion.cmake" DESTINATION "${qmsg_package_dir}"
  COMPONENT qmsg_development)

# pkg-config puts the folder of qmsg.pc in pcfiledir: from there the prefix is found again after a
# move, as long as the folders are given relative to it.
file(RELATIVE_PATH qmsg_pc_to_prefix
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
foreach(folder INCLUDEDIR LIBDIR DATADIR)
  file(RELATIVE_PATH qmsg_pc_${folder}
    "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_${folder}}")
endforeach()
set(qmsg_pc_definitions "")
if(WIN32)
  set(qmsg_pc_definitions " -DPROTOBUF_USE_DLLS")
endif()
configure_file(cmake/qmsg.pc.in "${PROJECT_BINARY_DIR}/qmsg.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qmsg.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT qmsg_development)

if(TARGET qmsg_cli)
  set(pages "${PROJECT_BINARY_DIR}/tools/pages")
  install(TARGETS qmsg_cli COMPONENT qmsg_tools)
  install(TARGETS qmsg_probe DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/qmsg" COMPONENT qmsg_tools)
  install(FILES "${pages}/qmsg.1" DESTINATION "${qmsg_man_dir}" COMPONENT qmsg_tools)
  install(FILES "${pages}/qmsg.bash" RENAME qmsg
    DESTINATION "${qmsg_bash_completion_dir}" COMPONENT qmsg_tools)
  install(FILES "${pages}/qmsg.zsh" RENAME _qmsg
    DESTINATION "${QMSG_ZSH_COMPLETION_DIR}" COMPONENT qmsg_tools)
  install(FILES "${pages}/qmsg.fish"
    DESTINATION "${qmsg_fish_completion_dir}" COMPONENT qmsg_tools)
endif()

# Last, since it looks at what is installed.
if(PROJECT_IS_TOP_LEVEL)
  install(CODE "set(SOURCE [[${PROJECT_SOURCE_DIR}]])
    set(FOLDERS . [[${CMAKE_INSTALL_DOCDIR}]] proto [[${qmsg_data_dir}/proto]])"
    COMPONENT qmsg_development)
  install(SCRIPT cmake/fit_links.cmake COMPONENT qmsg_development)
endif()
