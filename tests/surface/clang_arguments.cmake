# Sets clang_arguments: what libclang needs to read headers for another system as this build's compiler
# does. Empty for a native build.
set(clang_arguments "")
if(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -dumpmachine
    OUTPUT_VARIABLE target OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND clang -print-resource-dir
    OUTPUT_VARIABLE clang_folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(clang_arguments -target ${target} -resource-dir "${clang_folder}")
  # Clang brings the compiler's own headers.
  foreach(folder IN LISTS CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES Protobuf_INCLUDE_DIRS)
    if(NOT folder MATCHES "/gcc(-cross)?/[^/]+/[^/]+/include(-fixed)?$")
      list(APPEND clang_arguments -isystem "${folder}")
    endif()
  endforeach()
endif()
