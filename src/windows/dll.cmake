# The DLL and its import library, qmsg.dll and libqmsg.dll.a. Included by CMakeLists.txt.
set_target_properties(qmsg PROPERTIES PREFIX "")
enable_language(RC)
configure_file(windows/version.rc.in qmsg.rc @ONLY)
target_sources(qmsg PRIVATE windows/dll_main.cc "${CMAKE_CURRENT_BINARY_DIR}/qmsg.rc")
target_compile_features(qmsg PRIVATE cxx_std_11)
# A rebuild gives the same bytes.
target_link_options(qmsg PRIVATE LINKER:--no-insert-timestamp)

# Tells the runtime's headers that the runtime is a DLL, even if they are included first.
target_compile_definitions(qmsg_objects PRIVATE PROTOBUF_USE_DLLS QMSG_BUILDS_DLL)
target_compile_definitions(qmsg INTERFACE PROTOBUF_USE_DLLS)
