# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# What the cases on the simulated camera and on the emulated board are written in, and the cases that are
# the same on both. A suite has the functions camera(), with the launcher's commands, and the EEPROM's file
# in the folder $state, nvdump(), and the tests' folder in $tests.
# shellcheck disable=SC2154
failures=0
exec {silence}<> <(:) # to read from it with a timeout is a sleep that takes no process

# expect WHAT PATTERN SEEN. Names the line of the case itself, whatever helper has called.
expect() {
  # shellcheck disable=SC2053 # a pattern
  [[ $3 == $2 ]] && return
  echo "FAILED: line ${BASH_LINENO[-3]}: $1: expected '$2', saw '$3'" >&2
  failures=$((failures + 1))
}

# expect_end STATUS OUTPUT-PATTERN COMMAND...
expect_end() {
  local status=0
  output=$("${@:3}" 2>&1) || status=$?
  expect "status and output of '${*:3}'" "$1 $2" "$status $output"
}

# expect_values PATH=VALUE...
expect_values() {
  for parameter; do
    expect parameter "$parameter" "$(camera exec xmlcfg -g "${parameter%%=*}" /etc/device.conf)"
  done
}

# In vain is no reason to stop: what a case holds up is released further down.
wait_for() {
  for ((tries = 0; tries < 1000; ++tries)); do
    "$@" && return
    read -rt 0.01 -u "$silence" || true
  done
  expect 'patience' "$*" 'no end of waiting'
}

bytes() { od -A n -v -t x1 -j "$1" -N "$2" "$state/eeprom" | tr -d ' \n'; }
text() { dd if="$state/eeprom" bs=1 skip="$1" count="$2" status=none | tr -d '\0'; }
is_stored() { [[ $(bytes "$1" 2) == "$2" ]]; }
# The addresses that differ from the file "before", the time stamp's four left out.
changed() { cmp -l "$state/before" "$state/eeprom" | awk '$1 < 42 || $1 > 45 { printf "%d ", $1 - 1 }'; }
# --- cases on both -------------------------------------------------------------------------------

# expect_factory_image FILE
expect_factory_image() {
  nvdump map --hex --secrets "$1" | sed '/^0029  time /d; /(behind the chain)/d' >"$state/image"
  like_golden "$tests/golden/factory_image.txt" "$state/image" || failures=$((failures + 1))
}

# The start after a fill finds nothing to do.
check_restart() {
  cp "$state/eeprom" "$state/before"
  camera start
  camera stop
  cmp "$state/before" "$state/eeprom"
}

check_change() {
  camera set General.System.HTTPPort 8080
  expect 'stored port' 1f90 "$(bytes 753 2)"
  expect 'changed addresses' '753 754 ' "$(changed)"
}

check_texts() {
  camera set StreamProfile.I0.Video.Name $'caf\303'
  expect 'text that was cut in a character' 63616600 "$(bytes 4838 4)"
  camera set Image.OSD.Title off
  expect 'text for both paths of its row' '%T*' "$(text 1472 2)"
}

# A bare module takes over the board of another one; the suite's start_swapped() starts it, and changes the
# port at 755 meanwhile or afterwards.
check_swap() {
  local settings
  settings=(General.System.HTTPPort=8081 Event.Server.S0.Location=//nas.example/attic
    'General.UserID.U2.User=Y2Fyb2w6c2VjcmV0,00010001' Event.Scheduled.S0.Name=nightly)
  for setting in "${settings[@]}" ImageSource.I0.LensControl.ZoomPos=5 StreamProfile.I3.Video.FPS=99; do
    camera set "${setting%%=*}" "${setting#*=}"
  done
  camera stop
  cp "$state/eeprom" "$state/before"
  camera swap BARE-77
  camera exec sed -i -e '/<U. op="3">/,/<\/U.>/d' -e '/<I[123] op="3">/,/<\/I.>/d' \
    -e '/<[SM]0 op="3">/,/<\/[SM]0>/d' /opt/factory/device.conf
  camera set Event.Heartbeat.Interval 61 # which the EEPROM does not hold
  start_swapped
  expect log '*product id not match*' "$(camera log)"
  expect_values "${settings[@]}" General.Brand.ProdNbr=BARE-77 Event.Heartbeat.Interval=60 \
    Event.Media.M0.PostAlarm=20 Event.Server.S0.Options.Retries=3 StreamProfile.I3.Video.FPS=30
  expect 'changed addresses' '9 10 11 12 13 14 15 16 756 8925 8926 8929 ' "$(changed)"
}
