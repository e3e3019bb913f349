#!/bin/bash
# SPDX-License-Identifier: MIT
# The unmodified daemon in simulated cameras, seen as a camera's other programs see it: the EEPROM,
# device.conf, the socket, standard output, the pid file, the LED. Only what takes a real process.
set -eEu
tests=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")

usage() { echo 'usage: camera_test.sh BUILD [CASE]   (default: every case; status 77: this host has no sandbox)'; }

# shellcheck source=tools/common.sh
. "$tests/../tools/common.sh"
# shellcheck source=tests/end_to_end/shared.sh
. "$tests/end_to_end/shared.sh"
answer_help "$@"
[[ -d ${1-} ]] || wrong_usage "'${1-}' is no build folder"
build=$(realpath "$1")

# --- what the cases are written in ---------------------------------------------------------------

camera() { "$tests/../camera/camera" --build "$build" --state "$state" "$@"; }
nvdump() { "$build/nvdump" "$@"; }

# new_start [SED-SCRIPT for device.conf]
new_start() {
  camera new
  sed -i "${1-}" "$state/etc/device.conf"
  camera start
  pid=$(<"$state/run/nvd.pid")
  cp "$state/eeprom" "$state/before"
}

left_behind() { find "$state/run" "$state/tmp" -maxdepth 1 -name 'nv*' -printf '%f '; }
descriptors() { find "/proc/$pid/fd" | wc -l; }
has_descriptors() { [[ $(descriptors) == "$1" ]]; }
ticks() { awk '{ print $14 + $15 }' "/proc/$pid/stat"; }

# crowd COUNT MESSAGE: so many connections at once, open until "leave"; each sends the message.
crowd() {
  (cd "$state/tmp" && exec perl -MIO::Socket -e '
    my @clients = map { IO::Socket::UNIX->new("nv.sck") or die $! } 1 .. $ARGV[0];
    send($_, $ARGV[1], MSG_NOSIGNAL) for @clients;
    open(my $sign, ">", "../crowd") or die $!;
    sleep 60' "$@") &
  wait_for test -e "$state/crowd"
}
leave() {
  kill $!
  rm "$state/crowd"
}

# Without a process either, so that the time is right on a busy machine too: the LED is on line 41.
led_is() {
  local high_lines
  IFS= read -r -d '' high_lines <"$state/gpio" || true
  (($1 == (${#high_lines} > 41)))
}
# led_changes COUNT: when the LED changes after it has gone to level 1 next, in quarters of a second
led_changes() {
  wait_for led_is 0
  wait_for led_is 1
  local start=${EPOCHREALTIME/[.,]/}
  for ((n = 0; n < $1; ++n)); do
    wait_for led_is $((n % 2))
    printf '%d ' $(((${EPOCHREALTIME/[.,]/} - start + 125000) / 250000))
  done
}

# --- the cases -----------------------------------------------------------------------------------

test_first_fill_and_restart() {
  camera new
  camera run >&- & # no line of the output may end up in the EEPROM
  wait_for test -s "$state/run/nvd.pid"
  camera stop
  expect_factory_image "$state/eeprom"
  expect 'size of the image' 12074 "$(stat -c %s "$state/eeprom")"
  check_restart
}

test_change_and_save() {
  new_start
  printf '\0\0\0\0' | dd of="$state/eeprom" bs=1 seek=41 conv=notrunc status=none
  check_change
  expect 'age of the time stamp' '[0-9]' $(($(date +%s) - 16#$(bytes 41 4)))
  check_texts
  for value in -1 -g --help 'a <b> & "c"'; do
    camera set PTZ.Speed.ZoomSpeed "$value"
    expect_values "PTZ.Speed.ZoomSpeed=$value"
  done
  for words in '2 -g' '2 -g PTZ.Speed.ZoomSpeed' '1 -g No.Such.Path /etc/device.conf' '2 -x PTZ /etc/device.conf' \
    '1 -s PTZ 1 /etc/device.conf' '1 -s PTZ.Speed.ZoomSpeed 1 /etc/none' '1 -l No* /etc/device.conf'; do
    # shellcheck disable=SC2086 # several words
    expect_end "${words%% *}" $'?!(*\n*)' camera exec xmlcfg ${words#* }
  done
  expect_end 1 '*/etc/none: No such file*' camera exec xmlcfg -g PTZ /etc/none
  expect_end 1 '*standard output: No space*' bash -c "'$build/xmlcfg' -g PTZ.Speed.ZoomSpeed '$state/etc/device.conf' >/dev/full"
  sed '1i no XML' "$state/etc/device.conf" >"$state/conf"
  expect_end 1 '*: line 1, column 1: *' camera exec xmlcfg -g PTZ - <"$state/conf"
  { read -r && expect_end 0 'PTZ.Speed.ZoomSpeed=?*' camera exec xmlcfg -l '*.Zoom*eed' -; } <"$state/conf"
  expect_end 0 A=1 camera exec xmlcfg -l - <<<'<root><A>1</A><A>2</A></root>'
  expect_end 0 '*128*, not 129' camera set Image.OSD.Alias "$(printf 'x%.0s' {1..113})"
  camera exec xmlcfg -s General.System.HTTPPort 81 /opt/factory/device.conf
  echo precious >"$state/victim"
  ln -s ../victim "$state/etc/.device.conf.new"
  expect_end 1 '*save: Too many levels*' camera set General.System.HTTPPort 81
  expect 'file behind a planted link' precious "$(<"$state/victim")"
  camera notify ''
  expect 'port after all that' 1f90 "$(bytes 753 2)"
}

test_messages_and_signals() {
  local folder
  new_start '/<Server>$/,/<Scheduled>/{s/S0/S1/;s/M0/M1/}'
  folder=/=$(printf 'x%.0s' {1..97})Z
  camera notify "Event.Server.S1.Location=//h$folder"
  expect 'text of a message of 128 bytes' "$folder" "$(text 11027 128)"
  expect_end 0 '*128 bytes, not 129' camera notify "Event.Server.S1.Location=//h${folder/x/y}Y"
  expect 'text of a message of 129 bytes' "${folder/x/y}" "$(text 11027 128)"
  printf 'General.System.HTTPPort=8\0001' | camera notify -
  expect 'number before a NUL' 0008 "$(bytes 753 2)"
  expect 'size of the pid file' ${#pid} "$(stat -c %s "$state/run/nvd.pid")"
  expect status "NVC-2400: running, pid $pid" "$(camera status)"
  kill -USR1 "$pid"
  for port in 81 82; do
    kill -USR2 "$pid"
    camera notify General.System.HTTPPort=$port
  done
  expect log $'*Turn On debug mode\n## NVD : link list node=General.System.HTTPPort\nNvd : Turn Off debug mode' "$(camera log)"
  camera stop # fails on another status than 0
  expect 'what is left behind' 'nv.sck ' "$(left_behind)"
  camera start
  camera kill
  expect_end 3 'NVC-2400: stopped, last exit status 137' camera status
  camera start # over what the killed one has left behind
  camera notify General.System.HTTPPort=83
  expect 'stored port' 0053 "$(bytes 753 2)"
}

test_crowds() {
  local before free=3
  new_start
  before=$(descriptors)
  crowd 30 General.System.HTTPPort=88
  wait_for is_stored 753 0058
  leave
  crowd 25 ''
  wait_for has_descriptors $((before + 20))
  expect_end 1 '*has not read it*' camera notify General.System.HTTPPort=90
  expect_end 0 '*has not read it*' camera exec xmlcfg -s General.System.HTTPPort 90 /etc/device.conf
  leave
  camera set General.System.HTTPPort 89
  expect 'stored port, descriptors' "0059 $before" "$(bytes 753 2) $(descriptors)"

  prlimit --pid "$pid" --nofile=3: # no accept succeeds
  crowd 10 General.System.HTTPPort=90
  before=$(ticks)
  sleep 0.5
  expect 'processor time meanwhile, in 10 ms' '[0-9]' $(($(ticks) - before))
  # One accept succeeds, and the next one when that client has been served.
  while [[ -L /proc/$pid/fd/$free ]]; do free=$((free + 1)); done
  prlimit --pid "$pid" --nofile=$((free + 1)):
  wait_for is_stored 753 005a
  leave
  prlimit --pid "$pid" --nofile=100:
  camera notify No.Such.Path=0 # served behind all who have left

  crowd 1 ''
  expect_end 1 '*busy for more than 5 s' camera notify General.System.HTTPPort=91
  kill -USR2 "$pid" # which is no message
  sleep 0.2
  expect 'stored port behind a silent sender' 005a "$(bytes 753 2)"
  camera --timeout 2 stop
  expect 'stored port in the end' 005b "$(bytes 753 2)"
}

# A pipe in the lens driver's place holds the daemon up in the middle of the restore.
start_swapped() {
  mkfifo "$lens"
  camera start &
  wait_for test -S "$state/tmp/nv.sck"
  expect 'files before the restore is over' 'nv.sck ' "$(left_behind)"
  camera notify -n General.Network.RTSP.Port=555
  expect 'request to the lens driver' zoom=5 "$(timeout 10 cat "$lens")"
  wait $!
  wait_for is_stored 755 022b
}
test_module_swap() {
  local lens=$state/mnt/mtd/lens_position_change
  new_start
  check_swap
  camera stop
  rm "$lens"
  camera board --button -1
  camera start
  expect log $'Nv_CheckResetButton: ioctl error\nSection Type*' "$(camera log)"
  expect 'errors, a second restore' '' "$(camera log | sed -nE '/#Error|not match/p')"
}

test_reset_button() {
  new_start
  camera set General.System.HTTPPort 8080
  camera stop
  sed -i '/^set -eu/a od -A n -t x1 -N 4 /dev/i2c-1 >/mnt/header\nuntil [ -e /mnt/go ]; do sleep 0.1; done' \
    "$state/bin/restore"
  camera board --button 63
  camera button hold
  camera start
  expect log 'Reset detected, clear EEPROM...' "$(camera log)"
  expect 'LED during the reset' '* [45] ' "$(led_changes 4)"
  touch "$state/mnt/go"
  wait_for is_stored 0 5350 # the identification is written last
  expect 'start of the image during the reset' ' 00 00 00 00' "$(<"$state/mnt/header")"
  expect 'LED after the reset' '[23] [89] ' "$(led_changes 2)"
  expect 'stored port' 0050 "$(bytes 753 2)"
  expect_values General.System.HTTPPort=80
  expect 'mode of the factory file' 644 "$(stat -c %a "$state/etc/device.conf")"
  expect_end 0 'NVC-2400: running, *, not serving' camera status
  expect 'pid file' '' "$(ls "$state/run")"
  expect_end 1 "*only 'camera kill' ends it" camera stop
  camera kill
  camera mft
  camera board --led 0
  expect_end 0 'Reset detected, clear EEPROM...*' camera run
}

test_boards() {
  local host
  host() { { cat /proc/sysvipc/shm && ls -id /tmp/nv.sck /run/nvd.pid /etc/device.conf /mnt/mtd; } 2>&1 | awk '{ print $1, $2 }'; }
  host=$(host)
  camera new
  camera mft
  cp "$state/eeprom" "$state/before"
  expect_end 0 'mft I/O board' camera run
  cmp "$state/before" "$state/eeprom"
  expect 'what is left behind' 'nvd.pid ' "$(left_behind)"
  rm "$state/eeprom" "$state/gpio" "$state/run/nvd.pid"
  expect_end 0 'nvd: open I2C device error' camera run
  expect 'what is left behind' '' "$(left_behind)"
  : >"$state/eeprom"
  camera start
  expect log $'Nv_CheckResetButton: Failed to open GPIO device\nEEprom_ReadSection*' "$(camera log)"
  expect_end 1 '*running already' camera start
  expect 'the host' "$host" "$(host)"
}

if (($# == 1)); then
  declare -F | sed -n 's/.* test_//p' | xargs -n 1 "$0" "$build"
  exit
fi
[[ $# == 2 && $(type -t "test_$2") == function ]] || wrong_usage "unknown words: ${*:2}"
"$tests/../camera/camera" sandbox || exit 77

work=$(mktemp -d)
state=$work/camera
end() {
  for state in "$work"/*; do camera kill || true; done
  jobs -p | xargs -r kill || true
  rm -rf "$work"
} >/dev/null 2>&1
trap end EXIT
trap 'expect "status of $BASH_COMMAND" 0 $?' ERR
"test_$2"
trap - ERR
((failures == 0))
