# The newest clang of 16 to 19: older ones reject parts of C++20, and no newer one has been tried.
find_program(CORVEL_CLANG NAMES clang++-19 clang++-18 clang++-17 clang++-16 REQUIRED)
set(CMAKE_CXX_COMPILER ${CORVEL_CLANG})
