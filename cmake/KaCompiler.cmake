# Compiler flags live in two INTERFACE targets: project_warnings and project_sanitizers.

option(KA_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
option(KA_HARDENED "Hardened build for production" OFF)
set(KA_SANITIZERS "" CACHE STRING "Sanitizers, e.g. address,undefined or thread")

find_program(KA_CCACHE ccache)
if(KA_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KA_CCACHE})
endif()

add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  $<$<BOOL:${KA_WARNINGS_AS_ERRORS}>:-Werror>
  $<$<CXX_COMPILER_ID:Clang>:-Wexit-time-destructors>)

add_library(project_sanitizers INTERFACE)
if(KA_SANITIZERS)
  target_compile_options(project_sanitizers INTERFACE
    -fsanitize=${KA_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(project_sanitizers INTERFACE -fsanitize=${KA_SANITIZERS})
endif()

if(KA_HARDENED)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS
    -fstack-protector-strong -fstack-clash-protection)
  add_link_options(-pie -Wl,-z,relro,-z,now)
endif()
