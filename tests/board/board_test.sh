#!/bin/bash
# SPDX-License-Identifier: MIT
# The shipped programs on an emulated camera board: a kernel, its I2C driver, a chip and a busybox, and nothing
# that a camera lacks. Only what takes those; the kernel's record of the bus is the witness.
set -eEu
tests=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")

usage() { echo 'usage: board_test.sh BUILD... [CASE]   (builds for 32-bit ARM; default: every case)'; }

# shellcheck source=tools/common.sh
. "$tests/../tools/common.sh"
# shellcheck source=tests/end_to_end/shared.sh
. "$tests/end_to_end/shared.sh"
answer_help "$@"
[[ -x ${1-}/nvd ]] || wrong_usage "'${1-}' is no build"
build=$(realpath "$1")

# --- what the cases are written in ---------------------------------------------------------------

# The board of the EEPROM's file. All else on it is a fresh camera's.
boot() {
  rm -f "$state/to" "$state/from"
  mkfifo "$state/to" "$state/from"
  "$tests/../tools/board" --image "$state/eeprom" --build "$build" sh -c "$(<"$tests/board/guest.sh")" \
    <"$state/to" >"$state/from" &
  board=$!
  exec {to}>"$state/to" {from}<"$state/from"
  hear
  camera new
}

cut_power() {
  kill "$board"
  wait "$board" || true
  exec {to}>&- {from}<&-
}

# camera COMMAND [ARG...]: on the board
camera() {
  printf '%s\n' "${*@Q}" >&"$to"
  hear
}
hear() {
  local said status=1
  IFS= read -rd $'\035' -t 300 said <&"$from" && read -r status <&"$from" || said+='The board does not answer.'
  printf %s "$said"
  return "$status"
}

nvdump() { # here
  qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH="$tests/../build/armhf-sysroot/usr/lib/arm-linux-gnueabihf" \
    "$build/nvdump" "$@" 2>"$state/said"
}

# fill: the chip as the daemon would have filled it, but for the port
fill() {
  sed 's|\(<HTTPPort.*>\)80<|\18888<|' "$tests/../camera/device.conf" >"$state/device.conf"
  nvdump build --size 32768 -o "$state/eeprom" "$state/device.conf"
  cp "$state/eeprom" "$state/before"
}

# saw WHAT: a line for whoever reads along
saw() { echo "$(basename "$build") ${case//_/ }: $1"; }

# expect_bus WRITES: on the bus since the last time; all writes in their page, with their time
expect_bus() {
  local bus
  bus=$(camera bus)
  saw "$bus"
  expect 'bus' "*[0-9] reads, $1 writes, 0 across a page, the next transfer @(never|[1-9][0-9]*) after one, 0 lost" "$bus"
}

# Through the driver, nvdump reads what the chip's file holds.
expect_dump() {
  camera exec nvdump dump --force -o /tmp/copy >"$state/said"
  camera exec base64 /tmp/copy | base64 -d >"$state/copy"
  cmp -n 12074 "$state/copy" "$state/eeprom"
  saw "nvdump has read $(stat -c %s "$state/copy") bytes, ${1}"
}

# --- the cases -----------------------------------------------------------------------------------

test_first_fill_and_restart() {
  boot
  camera start
  expect_bus '[56]???'
  saw "$(camera exec sh -c "grep VmHWM /proc/\$(pidof nvd)/status")"
  camera stop
  expect_factory_image "$state/eeprom"
  check_restart
  expect_bus 0
}

test_changes() {
  fill
  boot
  camera start
  expect_bus 0
  expect_values General.System.HTTPPort=8888
  check_change
  camera notify General.Network.RTSP.Port=555
  expect 'stored port' 022b "$(bytes 755 2)"
  check_texts
  expect_bus '??'
  expect_dump 'beside the daemon'
  camera stop
  expect_dump 'without it'
}

start_swapped() {
  camera start
  camera notify General.Network.RTSP.Port=555
}
test_module_swap() {
  fill
  boot
  camera start
  check_swap
  expect_bus '???'
}

test_reset_button() {
  fill
  boot
  camera set General.Brand.Brand other # which the EEPROM does not hold
  camera exec cp /dev/null /dev/gpio
  camera exec truncate -s 64 /dev/gpio
  expect_end 0 'Reset detected, clear EEPROM...*' camera run
  expect_bus '[56]???'
  camera exec cmp /opt/factory/device.conf /etc/device.conf
  expect_factory_image "$state/eeprom"
}

# The board's time, not this machine's, says how far the daemon has come.
test_power_cut_in_fill() {
  boot
  camera launch
  camera exec sleep 30
  cut_power
  expect 'identification and first section of an unfinished image' 'ffffffff 00000001' "$(bytes 0 4) $(bytes 45 4)"
  boot
  camera start
  expect_factory_image "$state/eeprom"
}

test_power_cut_in_notice() {
  local text stored
  text=/$(printf 'x%.0s' {1..88})
  fill
  boot
  camera start
  camera bus >"$state/said"
  camera exec sh -c "nvd-notify -n 'Event.Server.S0.Location=//192.168.0.10$text'
    until grep -q '\[2b-[34]' /sys/kernel/tracing/trace; do usleep 10000; done
    kill -STOP \$(pidof nvd)"
  cut_power
  stored=$(text 11027 256)
  saw "${#stored} of ${#text} characters are stored"
  expect 'a longer text' "$stored?*" "$text"
  expect 'changed addresses elsewhere' '' "$(changed | xargs -n 1 | awk '$1 < 11027 || $1 >= 11027 + 256')"
  boot
  camera start
  expect_values General.System.HTTPPort=8888 "Event.Server.S0.Location=//192.168.0.10$stored"
}

test_init_script() {
  local first control=(camera exec /etc/init.d/nvd)
  fill
  boot
  "${control[@]}" start
  camera exec sh -c 'until [ -s /run/nvd.pid ]; do sleep 1; done'
  first=$(camera exec cat /run/nvd.pid)
  "${control[@]}" restart
  expect_end 0 'nvd: running' "${control[@]}" status
  expect 'one process, another one' "!($first|* *)" "$(camera exec pidof nvd)"
  "${control[@]}" stop
  expect_end 3 'nvd: not running' "${control[@]}" status
}

# Neither the bus, nor a chip on it.
test_no_chip() {
  boot
  camera exec mv /dev/i2c-1 /dev/none
  expect_end 0 'nvd: open I2C device error' camera run
  camera exec mv /dev/i2c-2 /dev/i2c-1
  expect_end 2 '*/dev/i2c-1*' camera exec nvdump info
  camera launch
  camera exec sleep 20
  expect log $'*, starting eeprom initial...\nI2C_WRITE error!*' "$(camera log)"
  camera exec cmp /opt/factory/device.conf /etc/device.conf
}

if [[ $# == 1 || -d $2 ]]; then # each case on each build
  for build; do declare -F | sed -n "s|.* test_|$build |p"; done | xargs -n 2 -P "$(nproc)" "$0"
  exit
fi
[[ $# == 2 && $(type -t "test_$2") == function ]] || wrong_usage "unknown words: ${*:2}"
case=$2 board=
state=$(mktemp -d)
end() {
  [[ -z $board ]] || kill "$board"
  wait
  rm -rf "$state"
} >/dev/null 2>&1
trap end EXIT
trap 'expect "status of $BASH_COMMAND" 0 $?' ERR
"test_$case"
trap - ERR
((failures == 0))
saw "passed in $SECONDS s"
