# Compilation of the optimised build types: link-time optimisation and hardening, as far as compiler and linker support
# them. Not for builds with sanitizers, which have checks of their own.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckIPOSupported)
include(CheckLinkerFlag)

set(CORVEL_RELEASE_TYPES RelWithDebInfo Release MinSizeRel)
string(REPLACE ";" "," release_types "${CORVEL_RELEASE_TYPES}")

# Adds `flag` to every compilation of a release if the compiler accepts it. A warning counts as a refusal, because clang
# warns about most unknown flags.
function(corvel_release_compile_flag flag)
  string(MAKE_C_IDENTIFIER "CORVEL_COMPILES_WITH${flag}" result)
  set(CMAKE_REQUIRED_FLAGS -Werror)
  check_cxx_compiler_flag(${flag} ${result})
  if(${result})
    add_compile_options($<$<CONFIG:${release_types}>:${flag}>)
  endif()
endfunction()

function(corvel_release_link_flag flag)
  string(MAKE_C_IDENTIFIER "CORVEL_LINKS_WITH${flag}" result)
  check_linker_flag(CXX ${flag} ${result})
  if(${result})
    add_link_options($<$<CONFIG:${release_types}>:${flag}>)
  endif()
endfunction()

# A message arrives after a wait, when other programs have replaced the contents of the caches. So the code for it is
# optimised across files, and library functions are called without the linkage table.
check_ipo_supported(RESULT can_join_files OUTPUT reason LANGUAGES CXX)
if(can_join_files)
  foreach(type IN LISTS CORVEL_RELEASE_TYPES)
    string(TOUPPER ${type} type)
    if(NOT DEFINED CMAKE_INTERPROCEDURAL_OPTIMIZATION_${type})
      set(CMAKE_INTERPROCEDURAL_OPTIMIZATION_${type} ON)
    endif()
  endforeach()
else()
  message(STATUS "Without optimisation across files: ${reason}")
endif()
corvel_release_compile_flag(-fno-plt)
# With link-time optimisation, g++ 12 takes a size in Qt's hash tables for unlimited.
add_link_options($<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:${release_types}>>:-Wno-alloc-size-larger-than>)

# Loads programs at different addresses at each start, with read-only function tables. Not -fPIE: Qt finds a signal by the
# address of its function. With link-time optimisation and -fPIE, g++ gives such a function another address in the program
# than in the library, and connections fail silently.
corvel_release_compile_flag(-fPIC)
corvel_release_link_flag(-pie)
corvel_release_link_flag(-Wl,-z,relro)
corvel_release_link_flag(-Wl,-z,now)
# Ends the program if a return address is overwritten, the stack grows beyond its end, or a jump goes into the middle of
# code.
corvel_release_compile_flag(-fstack-protector-strong)
corvel_release_compile_flag(-fstack-clash-protection)
corvel_release_compile_flag(-fcf-protection)
# The C library checks the sizes of buffers: at level 3, with sizes known only at run time, if compiler and library
# support it. A level that the system has set itself is first removed, because a different one causes a warning.
set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles([[
#include <cstdlib>
#if __USE_FORTIFY_LEVEL < 3
#error "lower level"
#endif
int main() { return 0; }
]] CORVEL_FORTIFIES_AT_3)
unset(CMAKE_REQUIRED_FLAGS)
if(CORVEL_FORTIFIES_AT_3)
  set(level 3)
else()
  set(level 2)
endif()
add_compile_options("$<$<CONFIG:${release_types}>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
