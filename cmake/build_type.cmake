# SPDX-License-Identifier: MIT
# Without a build type nothing would be optimised, and a camera's flash is small.
get_property(several_build_types GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT CMAKE_BUILD_TYPE AND NOT several_build_types)
  set(CMAKE_BUILD_TYPE MinSizeRel CACHE STRING "how it is optimised" FORCE)
endif()
