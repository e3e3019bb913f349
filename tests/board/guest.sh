# shellcheck shell=sh
# SPDX-License-Identifier: MIT
# Runs on the emulated board: takes commands, a line each, and answers each with its output, the byte 1D
# and its status. They are named as the simulated camera's launcher names them.
log=/tmp/log
tracing=/sys/kernel/tracing

cmd_new() {
  cp /opt/factory/device.conf /etc
  tr '\0' '\1' </dev/zero | head -c 64 >/dev/gpio
}
cmd_swap() {
  sed -i "s|\(<ProdNbr[^>]*>\)[^<]*|\1$1|" /opt/factory/device.conf
  cmd_new
}
cmd_run() { camera-board 26 0 nvd; } # the GPIO numbers of the button and, none, of the LED
cmd_launch() {
  rm -f /run/nvd.pid
  camera-board 26 0 nvd >$log 2>&1 &
  pid=$!
}
cmd_start() {
  cmd_launch
  until [ -s /run/nvd.pid ]; do
    usleep 20000
    kill -0 $pid || return 3
  done
}
cmd_stop() { kill "$pid" && wait "$pid"; }
cmd_log() { cat $log; }
cmd_set() {
  xmlcfg -s "$1" "$2" /etc/device.conf 2>/dev/null || return # without a daemon, it would say so
  [ ! -s /run/nvd.pid ] || nvd-notify ''
}
cmd_notify() { nvd-notify "$@"; }
cmd_exec() { "$@"; }

# What the daemon has done on the bus since the last time, by the kernel's own record: a write is an address
# of two bytes and data; the bus may carry the next transfer 10 ms after it.
cmd_bus() {
  awk '
    function digit(at) { return index("123456789abcdef", substr($11, at, 1)) } # of "[1b-c0-00-00]"
    /entries-in-buffer/ { split($3, entries, "/"); lost = entries[2] - entries[1] }
    $1 !~ /^nvd-/ { next }
    $5 == "i2c_result:" { ended = $4 + 0; next }
    {
      if (data > 0 && (pause == "" || $4 - ended < pause)) pause = $4 - ended
      data = substr($10, 3) - 2
      if (data < 1) { reads++; next }
      writes++
      if (digit(5) % 2 * 16 + digit(6) + data > 32) across++
    }
    END {
      printf "%d reads, %d writes, %d across a page, ", reads, writes, across
      printf "the next transfer %s after one, %d lost", pause == "" ? "never" : pause * 1000 " ms", lost
    }' $tracing/trace
  : >$tracing/trace
}

echo 20000 >$tracing/buffer_size_kb
echo 1 >$tracing/events/i2c/i2c_write/enable
echo 1 >$tracing/events/i2c/i2c_result/enable
printf '\0350\n' # what comes before is lost
while read -r line; do
  eval "cmd_$line" 2>&1
  printf '\035%d\n' $?
done
