#!/bin/bash
# SPDX-License-Identifier: MIT
# Several senders at once at the daemon of a simulated camera: they change settings as the camera's
# own programs do, between messages of every other kind. In the end EEPROM and configuration must agree,
# and the daemon must not have grown. With 0 messages, only looks whether they agree. tools/soak starts
# the camera and this:
#   soak.sh BUILD STATE MESSAGES SEED
# Exit status: 0 all is well, 1 it is not, 3 the daemon went away.
set -eu
root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..
build=$1 state=$2 messages=$3 RANDOM=$4
pid=$(<"$state/run/nvd.pid")
readonly senders=4 most_growth_kb=256
readonly paths=(General.Time.NTP.ManualServer1 General.Network.eth0.IPAddress General.System.HTTPPort
  General.Network.eth0.SubnetMask General.Network.eth0.DNSServer1 General.Network.RTSP.Port
  StreamProfile.I0.Video.Description StreamProfile.I3.Video.Name Event.MemoryCard.Media.PreAlarm
  StreamProfile.I1.Video.Description Event.Scheduled.S0.Name Event.MemoryCard.Media.PostAlarm)

# A round of a sender is ten messages.
# shellcheck disable=SC2016 # perl's variables
readonly sender='use IO::Socket;
  my ($seed, $rounds, @paths) = @ARGV;
  my @others = ("", "=", "no key", "No.Such.Path=1", "remove_user=3", "remove_record=9",
    "remove_server=9", "remove_stpf=9", "=" x 500, "\0\xFF\1=x");
  srand($seed);
  for (1 .. $rounds) {
    my $path = $paths[rand(@paths)];
    my $value = int(rand(65536)) . ($path =~ /Port|Alarm/ ? "" : "x" x rand(20));
    system("xmlcfg", "-s", $path, $value, "/etc/device.conf");
    for (1 .. 9) {
      my $daemon = IO::Socket::UNIX->new("/tmp/nv.sck") or exit 3;
      send($daemon, $others[rand(@others)], MSG_NOSIGNAL);
      shutdown($daemon, 1);
      sysread($daemon, my $end, 1);  # it hangs up when it has handled this and what came before
    }
  }'

camera() { "$root/camera/camera" --build "$build" --state "$state" "$@"; }

# run MESSAGES: all senders at once, each with settings of its own
run() {
  local jobs=() rounds=$(($1 / 10 / senders + 1))
  for ((i = 0; i < senders; ++i)); do
    camera exec perl -e "$sender" "$RANDOM" $rounds "${paths[@]:i*3:3}" 2>/dev/null &
    jobs+=($!)
  done
  for job in "${jobs[@]}"; do wait "$job" || exit $?; done
  camera notify "$(camera exec xmlcfg -g General.UserID.U3.User /etc/device.conf)" # which some messages have removed
}

footprint() { echo "$(awk '/^VmRSS/ { print $2 }' "/proc/$pid/status") $(find "/proc/$pid/fd" | wc -l)"; }

# Without the daemon each step fails in a way of its own.
trap 'status=$?; ((status == 0)) || [[ -e /proc/$pid ]] || exit 3' EXIT

if ((messages > 0)); then
  run $((messages / 10))
  read -ra early < <(footprint)
  run $((messages - messages / 10))
  read -ra late < <(footprint)
  echo "$messages messages; memory ${early[0]} -> ${late[0]} KB, descriptors ${early[1]} -> ${late[1]}"
  ((late[0] <= early[0] + most_growth_kb && late[1] <= early[1])) || exit 1
fi

# A new camera that gets this one's EEPROM comes to the same configuration.
live=$state state=$state-new
rm -rf "$state"
camera new --product "$(<"$live/product")"
cp "$live/eeprom" "$state"
camera start
camera stop
diff "$live/etc/device.conf" "$state/etc/device.conf"
