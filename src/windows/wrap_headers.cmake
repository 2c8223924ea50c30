# Usage: cmake -DFOLDER=FOLDER -P wrap_headers.cmake
# Puts begin.h before and end.h after the content of each generated header in FOLDER.
foreach(part begin end)
  file(READ "${CMAKE_CURRENT_LIST_DIR}/${part}.h" ${part})
endforeach()
file(GLOB headers "${FOLDER}/*.pb.h")
foreach(header IN LISTS headers)
  file(READ "${header}" content)
  file(WRITE "${header}" "${begin}${content}${end}")
endforeach()
