# One set of warnings for everything we compile, all of them errors: CORVEX_WARNINGS, and a target that
# brings them.

set(CORVEX_WARNINGS
  -Wall -Wextra -Werror
  -Wshadow -Wconversion -Wformat=2 -Wcast-align -Wcast-qual -Wold-style-cast -Woverloaded-virtual
  -Wnon-virtual-dtor -Wundef -Wdouble-promotion -Wvla)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  list(APPEND CORVEX_WARNINGS -Wduplicated-cond -Wlogical-op)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  # Operation tables are designated initialisers, which both compilers have in every mode.
  list(APPEND CORVEX_WARNINGS -Wthread-safety -Wno-c++20-designator)
endif()

add_library(corvex_warnings INTERFACE)
add_library(corvex::warnings ALIAS corvex_warnings)
target_compile_options(corvex_warnings INTERFACE ${CORVEX_WARNINGS})
