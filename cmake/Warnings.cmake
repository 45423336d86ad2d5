# One set of warnings for everything we compile, all of them errors.

add_library(corvex_warnings INTERFACE)
add_library(corvex::warnings ALIAS corvex_warnings)
target_compile_options(corvex_warnings INTERFACE
  -Wall -Wextra -Werror
  -Wshadow -Wconversion -Wformat=2 -Wcast-align -Wcast-qual -Wold-style-cast -Woverloaded-virtual
  -Wnon-virtual-dtor -Wundef -Wdouble-promotion -Wvla
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
  # Operation tables are designated initialisers, which both compilers have in every mode.
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wno-c++20-designator>)
