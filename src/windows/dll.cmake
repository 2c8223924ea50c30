# The DLL and its import library, qmsg.dll and libqmsg.dll.a. Included by CMakeLists.txt.
set_target_properties(qmsg PROPERTIES PREFIX "")
target_sources(qmsg PRIVATE windows/dll_main.cc)
target_compile_features(qmsg PRIVATE cxx_std_11)

# The runtime's headers have to know that it is a DLL, in whichever order headers are included.
target_compile_definitions(qmsg_objects PRIVATE PROTOBUF_USE_DLLS QMSG_BUILDS_DLL)
target_compile_definitions(qmsg INTERFACE PROTOBUF_USE_DLLS)
