# SPDX-License-Identifier: MIT
# Builds nvd with stub libraries in the place of ours, without pugixml, and lets it fill a blank
# EEPROM with the product number that only the stub knows.
foreach(library libcfg libnetwork)
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${COMPILER} -x c -std=c11 -Wall -Wextra -Werror
    -shared -fPIC -I${SOURCE} ${SOURCE}/tests/stub_libs/${library}.c -o ${WORK}/${library}.so)
endforeach()
execute_process(COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET COMMAND ${CMAKE_COMMAND} --no-warn-unused-cli
  -S ${SOURCE} -B ${WORK}/build -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER}
  -DCMAKE_DISABLE_FIND_PACKAGE_pugixml=ON -DBUILD_TESTING=OFF
  -DNVD_LIBCFG=${WORK}/libcfg.so -DNVD_LIBNETWORK=${WORK}/libnetwork.so)
execute_process(COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET
  COMMAND ${CMAKE_COMMAND} --build ${WORK}/build --target all)
if(EXISTS ${WORK}/build/xmlcfg)
  message(FATAL_ERROR "xmlcfg was built, although the camera has its own")
endif()

# An EEPROM of our own in place of the machine's devices, none of the machine's files writable.
file(WRITE ${WORK}/eeprom "")
execute_process(COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output TIMEOUT 60 COMMAND bwrap
  --ro-bind / / --dev /dev --bind ${WORK}/eeprom /dev/i2c-1 --tmpfs /run --unshare-ipc
  --unshare-net --die-with-parent ${WORK}/build/nvd)
file(READ ${WORK}/eeprom product_number OFFSET 9 LIMIT 7 HEX)
if(NOT output MATCHES "stub: /tmp/nv.sck\n" OR NOT product_number STREQUAL "535455422d3100")
  message(FATAL_ERROR "not the stubs' doing: product number ${product_number}, output:\n${output}")
endif()
