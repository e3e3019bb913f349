# SPDX-License-Identifier: MIT
# What makes a fault in memory end the program instead of being used: guarded stack frames, checked
# copies, and tables of addresses that are read-only once the program runs. It costs 2 to 4 % of size.
# Whether programs are position-independent is the toolchain's choice; today's are so by themselves.
option(NVD_HARDENED "guard stack, copies and address tables" OFF)
if(NVD_HARDENED)
  # Some compilers define the level themselves.
  add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  add_link_options(-Wl,-z,relro -Wl,-z,now)
endif()
