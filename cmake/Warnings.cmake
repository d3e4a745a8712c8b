# The warnings that our own targets compile without, under GCC 12 and Clang 14.
add_library(rvpcv_warnings INTERFACE)
target_compile_options(
  rvpcv_warnings
  INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wundef $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>)
