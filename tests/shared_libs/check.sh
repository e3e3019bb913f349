#!/bin/bash
# SPDX-License-Identifier: MIT
# Builds nvd as a camera's maker does who has the two libraries: ours, as shared ones, in the place of
# the sources, and no pugixml. Then runs the tests that are left for them, and lets nvd fill a blank
# EEPROM: with a held reset button on a board without LED, so that it ends by itself.
set -euo pipefail
root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..

usage() { echo 'usage: check.sh FOLDER   (to build in)'; }

# shellcheck source=tools/common.sh
. "$root/tools/common.sh"
answer_help "$@"
[[ $# == 1 && $1 != -* ]] || wrong_usage 'one folder is wanted'
cd "$root"
work=$(realpath -m "$1")
mkdir -p "$work"

cc -x c -std=c11 -Wall -Wextra -Werror -fsyntax-only \
  -include platform/libcfg.h -include platform/libnetwork.h /dev/null
shared() { c++ -std=c++20 -shared -fPIC -I. -o "$work/$1.so" "platform/$1.cpp" "${@:2}"; }
shared libcfg platform/file.cpp platform/utf8.cpp -lpugixml
shared libnetwork
cmake --no-warn-unused-cli -S . -B "$work" -G Ninja -DCMAKE_DISABLE_FIND_PACKAGE_pugixml=ON \
  -DNVD_LIBCFG="$work/libcfg.so" -DNVD_LIBNETWORK="$work/libnetwork.so" >/dev/null
cmake --build "$work"
ctest --test-dir "$work" --output-on-failure

: >"$work/eeprom"
head -c 64 /dev/zero >"$work/gpio"
timeout 60 bwrap --ro-bind / / --tmpfs /etc --ro-bind camera/device.conf /etc/device.conf --dev /dev \
  --ro-bind "$work" "$work" --bind "$work/eeprom" /dev/i2c-1 --bind "$work/gpio" /dev/gpio --unshare-ipc --unshare-net "$work/nvd"
needed=$(readelf -d "$work/nvd" | grep -oE 'lib(cfg|network|pugixml)' | sort | paste -sd ' ')
product=$(dd if="$work/eeprom" bs=1 skip=9 count=8 status=none)
[[ $needed == 'libcfg libnetwork' && $product == NVC-2400 && ! -e $work/xmlcfg ]] ||
  fail "expected libcfg libnetwork, NVC-2400 and no xmlcfg, saw $needed, $product, $(ls "$work")"
