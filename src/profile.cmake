# Two builds in one folder, whose name is part of what the compiler knows a function by: one that
# counts what is run, then one that is optimised by the counts. Included by CMakeLists.txt.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  message(FATAL_ERROR "QMSG_PROFILE takes GCC, and this is ${CMAKE_CXX_COMPILER_ID}. Configure "
    "with -DCMAKE_CXX_COMPILER=g++, or without QMSG_PROFILE.")
endif()

set(counts_dir "${PROJECT_BINARY_DIR}/counts")
# What a map does depends on its random seed, and the same training is to give the same library.
target_compile_options(qmsg_objects PRIVATE "-fprofile-exclude-files=/google/protobuf/map[.]h$")

if(QMSG_PROFILE STREQUAL "collect")
  target_compile_options(qmsg_objects PRIVATE "-fprofile-generate=${counts_dir}"
    -fprofile-update=single)
  target_link_options(qmsg PRIVATE -fprofile-generate)
elseif(QMSG_PROFILE STREQUAL "use")
  file(GLOB counts CONFIGURE_DEPENDS "${counts_dir}/*.gcda")
  if(NOT counts)
    message(FATAL_ERROR "There are no counts in ${counts_dir}. ./dev profile makes them, and "
      "builds with them.")
  endif()
  target_compile_options(qmsg_objects PRIVATE "-fprofile-use=${counts_dir}"
    # A missing file is reported at the first function, which may be one of a system header.
    -Wsystem-headers -Werror=missing-profile -Werror=coverage-mismatch)
  set_source_files_properties(${generated_sources} exports.cc PROPERTIES
    OBJECT_DEPENDS "${counts}")
else()
  message(FATAL_ERROR "QMSG_PROFILE is '${QMSG_PROFILE}', and not collect or use.")
endif()
