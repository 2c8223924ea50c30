# Finds the protobuf compiler and runtime, and insists that both are of release line 3.21: the
# generated code is tied to the internals of its own release.

set(qmsg_protobuf_line 3.21)
find_package(Protobuf QUIET MODULE)

set(qmsg_protoc_version "none")
if(Protobuf_PROTOC_EXECUTABLE)
  execute_process(COMMAND "${Protobuf_PROTOC_EXECUTABLE}" --version
    OUTPUT_VARIABLE qmsg_protoc_output RESULT_VARIABLE qmsg_protoc_status ERROR_QUIET)
  if(qmsg_protoc_status EQUAL 0 AND qmsg_protoc_output MATCHES "libprotoc ([0-9.]+)")
    set(qmsg_protoc_version "${CMAKE_MATCH_1}")
  else()
    set(qmsg_protoc_version "unknown")
  endif()
endif()

set(qmsg_runtime_version "none")
if(Protobuf_INCLUDE_DIR AND Protobuf_LIBRARY)
  set(qmsg_runtime_version "${Protobuf_VERSION}")
endif()

# Releases before 22 call themselves 3.x; protoc 3.21 prints 3.21.x.
string(REPLACE "." "\\." qmsg_protobuf_line_regex "^${qmsg_protobuf_line}.")
if(NOT qmsg_protoc_version MATCHES "${qmsg_protobuf_line_regex}"
    OR NOT qmsg_runtime_version MATCHES "${qmsg_protobuf_line_regex}")
  set(qmsg_advice "On Debian 12: apt-get install protobuf-compiler libprotobuf-dev")
  if(WIN32)
    string(APPEND qmsg_advice "\nThe runtime for Windows: cmake/windows/protobuf.sh makes one, and "
      "prints the folder to set CMAKE_PREFIX_PATH to.")
  endif()
  message(FATAL_ERROR
    "qmsg needs the protobuf compiler and runtime of release line ${qmsg_protobuf_line}.\n"
    "  compiler: ${qmsg_protoc_version} (${Protobuf_PROTOC_EXECUTABLE})\n"
    "  runtime:  ${qmsg_runtime_version} (${Protobuf_INCLUDE_DIR}, ${Protobuf_LIBRARY})\n"
    "${qmsg_advice}\n"
    "If they are installed elsewhere, set Protobuf_PROTOC_EXECUTABLE, Protobuf_INCLUDE_DIR and "
    "Protobuf_LIBRARY.")
endif()
