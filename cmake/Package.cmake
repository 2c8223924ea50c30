# The Debian packages that `cpack` makes, one for each component of the installation.

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL qmsg_runtime qmsg_development)
if(TARGET qmsg_cli)
  list(APPEND CPACK_COMPONENTS_ALL qmsg_tools)
endif()
if(TARGET qmsg_python)
  list(APPEND CPACK_COMPONENTS_ALL qmsg_python)
endif()
set(CPACK_STRIP_FILES ON)

set(CPACK_PACKAGE_CONTACT "qmsg developers <qmsg@packages.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has one of its own
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE qmsg)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(qmsg_library_package "libqmsg${qmsg_soversion}")
set(qmsg_description "These are the requests, errors, function timings, SQL activity and monitoring
events of PHP worker processes, and the records that exchange queues, jobs and
configuration, as protobuf messages.")

set(CPACK_DEBIAN_QMSG_RUNTIME_PACKAGE_NAME "${qmsg_library_package}")
set(CPACK_DEBIAN_QMSG_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_QMSG_RUNTIME_PACKAGE_SHLIBDEPS ON)
# What other packages that use the library will depend on.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_QMSG_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION} (library)
${qmsg_description}")

set(CPACK_DEBIAN_QMSG_DEVELOPMENT_PACKAGE_NAME libqmsg-dev)
set(CPACK_DEBIAN_QMSG_DEVELOPMENT_PACKAGE_SECTION libdevel)
string(CONCAT CPACK_DEBIAN_QMSG_DEVELOPMENT_PACKAGE_DEPENDS
  "${qmsg_library_package} (= ${PROJECT_VERSION}), "
  "libprotobuf-dev (>= ${qmsg_protobuf_line}), libprotobuf-dev (<< 3.22~)")
set(CPACK_DEBIAN_QMSG_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} (development)
${qmsg_description}
.
This package holds the C++ headers, the files for CMake and pkg-config, and the
schema files from which other languages generate their classes.")

set(CPACK_DEBIAN_QMSG_TOOLS_PACKAGE_NAME qmsg-tools)
set(CPACK_DEBIAN_QMSG_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_QMSG_TOOLS_PACKAGE_SHLIBDEPS ON)
# The library is found here; no installed package could say what it belongs to.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src")
set(CPACK_DEBIAN_QMSG_TOOLS_PACKAGE_DEPENDS "${qmsg_library_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_QMSG_TOOLS_DESCRIPTION "${PROJECT_DESCRIPTION} (command-line tool)
${qmsg_description}
.
This package holds the tool qmsg, which explains the messages, its manual page
and its completions for bash, zsh and fish.")

set(CPACK_DEBIAN_QMSG_PYTHON_PACKAGE_NAME python3-qmsg)
set(CPACK_DEBIAN_QMSG_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_QMSG_PYTHON_PACKAGE_ARCHITECTURE all)
string(CONCAT CPACK_DEBIAN_QMSG_PYTHON_PACKAGE_DEPENDS "python3:any, "
  "python3-protobuf (>= ${qmsg_protobuf_line}), python3-protobuf (<< 3.22~)")
set(CPACK_DEBIAN_QMSG_PYTHON_PACKAGE_RECOMMENDS "${qmsg_library_package}")
# Modules are compiled on installation, and nothing of that is left after removal.
set(CPACK_DEBIAN_QMSG_PYTHON_PACKAGE_CONTROL_EXTRA
  "${PROJECT_SOURCE_DIR}/python/debian/postinst" "${PROJECT_SOURCE_DIR}/python/debian/prerm")
set(CPACK_DEBIAN_QMSG_PYTHON_DESCRIPTION "${PROJECT_DESCRIPTION} (Python)
${qmsg_description}
.
This package holds the Python classes and their type stubs. They are faster if
${qmsg_library_package} is installed.")

include(CPack)
