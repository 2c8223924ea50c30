# Settings for Windows that are needed before anything is compiled. Included by CMakeLists.txt.

# The linker runs initialisers from the last object to the first.
list(REVERSE generated_sources)

# The headers mark exported classes, and can be included before or after windows.h.
set(cpp_options "dllexport_decl=QMSG_EXPORT:")
set(after_protoc COMMAND "${CMAKE_COMMAND}" "-DFOLDER=${generated_dir}"
  -P "${CMAKE_CURRENT_SOURCE_DIR}/windows/wrap_headers.cmake"
  DEPENDS windows/wrap_headers.cmake windows/begin.h windows/end.h)
