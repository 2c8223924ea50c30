# What makes a fault harder to exploit, for the code that others load into their processes.

include(CheckCXXCompilerFlag)
include(CMakePushCheckState)

add_library(qmsg_hardening INTERFACE)
target_compile_options(qmsg_hardening INTERFACE -fstack-protector-strong)
# Checks of copies into objects of a known size. They need an optimising compiler, and the
# sanitizers have better ones.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  target_compile_options(qmsg_hardening INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

# The rest is ELF's. Windows has every large stack frame touch its pages, and the linker for it marks
# the DLL by itself: no executable stack or data, any address.
if(WIN32)
  target_link_libraries(qmsg_hardening INTERFACE -l:libssp.a) # checks of the stack; no DLL for it
  return()
endif()

# Each serves one family of processors: indirect jumps end at marked places only, and a large stack
# frame touches every page on its way.
cmake_push_check_state()
set(CMAKE_REQUIRED_FLAGS -Werror) # Clang warns of those that another processor has
foreach(flag -fcf-protection=full -mbranch-protection=standard -fstack-clash-protection)
  string(MAKE_C_IDENTIFIER "qmsg_has${flag}" has_flag)
  check_cxx_compiler_flag(${flag} ${has_flag})
  if(${has_flag})
    target_compile_options(qmsg_hardening INTERFACE ${flag})
  endif()
endforeach()
cmake_pop_check_state()

target_link_options(qmsg_hardening INTERFACE
  LINKER:-z,now LINKER:-z,relro # no table of addresses stays writable
  LINKER:-z,noexecstack)
