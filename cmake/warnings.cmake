# SPDX-License-Identifier: MIT
# What every target is compiled with. The presets make a warning an error; another compiler's new one
# stops nobody's build.
add_compile_options(
  -Wall -Wextra -Wpedantic
  -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-qual -Wformat=2 -Wundef
  -Wdouble-promotion -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
  -Wmissing-declarations)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wduplicated-cond -Wduplicated-branches -Wlogical-op)
  # Where a size has 32 bits, the casts that a 64-bit build needs are useless.
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    add_compile_options(-Wuseless-cast)
  endif()
endif()
