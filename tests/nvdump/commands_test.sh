#!/bin/bash
# SPDX-License-Identifier: MIT
# nvdump's commands on files, and beside the daemon in the simulated camera.
set -euo pipefail
root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..

usage() { echo 'usage: commands_test.sh BUILD [update]   (update: rewrites its golden files)'; }

# shellcheck source=tools/common.sh
. "$root/tools/common.sh"
answer_help "$@"
[[ -d ${1-} && ${2-update} == update && $# -le 2 ]] || wrong_usage 'a build folder is wanted'
build=$(realpath "$1")
cd "$root"
work=$(mktemp -d)
export TMPDIR=$work
camera() { camera/camera --build "$build" --state "$work/camera" --timeout 60 "$@"; }
trap 'camera kill >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
faults=0

# same WHAT EXPECTED FOUND
same() {
  [[ $2 == "$3" ]] || { printf -- '--- %s: expected\n%s\n--- found\n%s\n' "$@" && faults=$((faults + 1)); }
}

nvdump() { "$build/nvdump" "$@" 2>"$work/said"; }
status() { eval "nvdump $1" </dev/null >"$work/out" && echo 0 || echo $?; }

# damage OFFSET:HEX...: the factory image with other bytes
damage() {
  local word
  cp "$work/image" "$work/damaged"
  for word in "${@^^}"; do
    basenc -d --base16 <<<"${word#*:}" | dd of="$work/damaged" bs=1 seek="${word%:*}" conv=notrunc status=none
  done
}

# with_passwords PAIRS: a configuration with passwords of two letters by turns, so that few patterns find
# any six bytes of them, a byte-order mark, and a stream that is faster than the capture mode
with_passwords() {
  local word
  word=$(printf 'Qz%.0s' $(seq "$1"))
  printf '\xEF\xBB\xBF'
  sed -E -e "s|s3cret-share|$word|; s|(\"account\">)[^<,]+|\1$(printf 'me:%s' "$word" | base64 -w 0)|" \
    -e '/FPS/s/25/60/' camera/device.conf
}

SOURCE_DATE_EPOCH=1700000000 nvdump build -o "$work/image" camera/device.conf
same 'give it a value in camera/device.conf, or mend the path in its row' '' \
  "$(grep 'not in the configuration' "$work/said" || true)"

(
  cd "$work"
  damage 753:1f90 54:4d
  for command in 'info image' 'list image General.System.*' 'get --source image General.UserID.Admin' \
    'map --hex --section ssdt image' 'verify damaged' 'diff image damaged'; do
    # shellcheck disable=SC2086
    nvdump ${command%% *} --json ${command#* } || true
  done
) >"$work/json"
(cd "$work" && nvdump map --json image) | awk '
  $1 == "\"key\":" { key = $2 }
  $1 == "\"texts\":" { print key }
  /^ *"(any|-?[0-9]+)[^:]*$/' >"$work/enumerations"
if [[ ${2-} == update ]]; then
  cp "$work/json" tests/golden/nvdump.json
  cp "$work/enumerations" tests/golden/enumerations.txt
fi
like_golden tests/golden/nvdump.json "$work/json" || faults=$((faults + 1))
like_golden tests/golden/enumerations.txt "$work/enumerations" || faults=$((faults + 1))

# The image as its description has it: how many sections, the last one's address and name, the size.
read -r sections last last_name size < <(awk -F ' *[|] *' '
  $6 == "end" { print count, address, name, $2 }
  NF == 8 && $3 ~ /^[0-9A-F]+$/ { ++count; address = $2; name = $5 }' docs/eeprom-image.md)

# --- what verify finds: the bytes that are changed, and the lines ---

same 'factory image' "$sections sections, 0 findings" "$(nvdump verify "$work/image")"
cases=0
while IFS='|' read -r bytes expected; do
  # shellcheck disable=SC2086
  damage $bytes
  cases=$((cases + 1))
  same "verify $bytes" "$(tr '|' '\n' <<<"$expected")" "$(nvdump verify "$work/damaged" </dev/null | sed '$d' || true)"
done <<EOF_DAMAGES
0:4d465400|0000: id header: the I/O board is in the factory's test set-up
39:ff|0000: id header: no finished identification: the next start fills the EEPROM anew
39:41|0009: id id: 1 byte other than zero behind the text
9:c3|0009: id id: no UTF-8
45:00000003|002d: ssdt header: type 0x3 where 0x1 belongs|002d: ssdt header: next address 00f8 where 035c belongs
6179:ffffffffffffffffff|1823: stpf1 header: type 0xffffffff where 0x8 belongs|1823: stpf1 header: version 255 where 1 belongs|1823: stpf1 header: next address ffffffff where 1d69 belongs|1823: stpf1 header: the chain ends here, $((sections - 10)) sections are out of reach
6184:0000002d|1823: stpf1 header: next address 002d where 1d69 belongs|1823: stpf1 header: the chain ends here, $((sections - 10)) sections are out of reach
$((last + 5)):00000100|$(printf %04x "$last"): $last_name header: next address 0100 where 0000 belongs
578:03|0242: sssc sssc_group_2: no rule knows the number 3
592:4141414141414141414141414141414141414141414141414141414141414141|0250: ssnt ssnt_addr: no terminator
592:c341|0250: ssnt ssnt_addr: no UTF-8
623:01|0250: ssnt ssnt_addr: 1 byte other than zero behind the text
757:49|02f5: ssnt ssnt_pname_1: "Ipv6_addr" where "ipv6_addr" belongs
EOF_DAMAGES
same 'damages' 13 "$cases"

# --- what can't be read is said, and is not taken for values ---

short() { head -c "$1" "$work/image" >"$work/damaged"; }
cases=0
while IFS='|' read -r how findings lost; do
  $how
  cases=$((cases + 1))
  of_lost="^(${lost// /|})"$'\t'
  missing=$(nvdump list --all --long "$work/image" </dev/null | grep -cE "$of_lost")
  same "list after $how" "$(nvdump list --long "$work/image" </dev/null | grep -cvE "$of_lost")" \
    "$(nvdump list "$work/damaged" </dev/null | wc -l)"
  same "what list says after $how" "nvdump: $work/damaged: can't be read: $lost; $missing parameters are missing" \
    "$(<"$work/said")"
  same "extract after $how" "1 nvdump: nothing would change" \
    "$(status "extract --config camera/device.conf -o - $work/damaged") $(tail -n 1 "$work/said")"
  same "verify after $how" "$(nvdump info "$work/damaged" | sed -n 's/^sections.//p') sections, $findings" \
    "$(nvdump verify "$work/damaged" | tail -n 1)"
  same "diff after $how" "$(nvdump diff "$work/image" "$work/damaged" | wc -l)" \
    "$(nvdump diff "$work/damaged" "$work/image" | wc -l)"
done <<'EOF_SHORT'
damage 586:02|1 finding|ssnt
short 10951|2 findings|srin srex
short 585|5 findings|ssnt lvim lvln lvad lvdn stpf0 stpf1 stpf2 stpf3 srin srex
short 100|2 findings|ssdt sssc ssnt lvim lvln lvad lvdn stpf0 stpf1 stpf2 stpf3 srin srex
EOF_SHORT
same 'short images' 4 "$cases"

# --- exit status, by command line ---

cp camera/device.conf "$work/conf"
with_passwords 8 >"$work/b"
with_passwords 20 | sed '/<Server>/,/<.Server>/s/S0/S1/' >"$work/long" # its storage moves in a restore
: >"$work/blank"
printf '<root><A>1</A></root>' >"$work/foreign"
cases=0
while IFS='|' read -r expected arguments; do
  cases=$((cases + 1))
  same "status of $arguments" "$expected" "$(cd "$work" && status "$arguments")"
done <<'EOF_STATUS'
0|list --help
0|diff image conf
0|get --source image General.System.HTTPPort
0|verify --config conf image
0|dump -o copy image
0|dump -o copy --force image
0|build -o padded --size 32768 --strict conf
0|build -o - conf
0|list --device image 'General.*'
0|extract --config b b
1|extract --config b image
1|diff image blank
1|get --source image General.System.HTTPPort no.such
1|list image no.such 'General.*'
0|list image 'Event.Server.S1.*'
1|verify blank image
1|extract --config conf <(damage 39:ff && cat damaged)
1|extract --config conf <(damage 0:4d465400 && cat damaged)
2|frobnicate
2|verify --config no/such image
2|diff - - <image
2|info --strict image
2|diff image
2|info conf.d ''
2|info ../../../../dev/null
2|info <image
2|info - <"$root/README.md"
2|list 'General.*'
2|list --device '' image
2|build -o copy conf
2|build -o conf --force conf
2|dump -o image --force image
2|dump -o image --force - <image
2|extract --config conf -o conf --force image
2|build -o /dev/full --force conf
2|build -o new --strict long
2|info image >/dev/full
2|build -o new foreign
2|build -o no/such/folder conf
2|map --from x image
2|map --from 12074 image
2|map --section ss image
EOF_STATUS
same 'command lines' 42 "$cases"
same 'options of the man page' "$(nvdump --help | grep -oE '^  --[a-z]+' | tr -d ' ' | sort)" \
  "$(sed -n '/^.Sh OPTIONS/,/^.El/p' packaging/nvdump.1 | sed -n 's/^.It//p' | grep -oE -- 'Fl -[a-z]+' | sed 's/Fl /-/' | sort)"
same 'copy' '' "$(cmp "$work/image" "$work/copy" 2>&1)"
same 'padded' '600 32768 0' "$(stat -c '%a %s' "$work/padded") $(tail -c +$((size + 1)) "$work/padded" | tr -d '\377' | wc -c)"
same 'a refused build' '' "$(ls "$work/new" 2>/dev/null || true)"
same 'a broken pipe' '' "$(nvdump map --hex --json "$work/conf" | true; cat "$work/said")"
damage 592:1bc29b7f00 753:ffff
same 'control characters' '\x1b\xc2\x9b\x7f' "$(nvdump get --source "$work/damaged" General.Network.eth0.IPAddress)"
port=$(printf '02f1  %-24s 65535 <- General.System.HTTPPort' ssnt_http_port)
same 'a part of the map' "$port"$'\n'"$port" \
  "$(nvdump map --from 753 --count 2 "$work/damaged" && nvdump map --from 754 --count 1 "$work/damaged")"

# --- passwords: not six bytes of them without --secrets, plain, in base64, in hex or as a number ---

# An image with the storage's section once more behind the chain.
nvdump build -o "$work/secret" <(with_passwords 15)
{ cat "$work/secret" && tail -c +$((last + 1)) "$work/secret"; } >"$work/image"

# shows COMMAND: how many lines of what it says have six bytes of a password
shows() {
  (cd "$work" && eval "nvdump $1" >out) || true
  cat "$work/out" "$work/said" | grep -cE '(Qz){3}|(zQ){3}|UXpR|elF6|(51 ?7a ?){2}|(7a ?51 ?){2}|1366970746|2052160081' || true
}
cases=0 telling=
for how in 'damage 0:53' 'damage 4:02' 'damage 253:00002f2a' 'damage 253:00002b86 11142:000000030100000575' \
  'damage 50:000001c1' 'damage 50:00002c3d' "damage $((last - 718)):00002f2a" "cp $work/long $work/damaged"; do
  $how
  for command in 'info --json' 'list --long --all' 'list --json' 'get General.UserID.Admin --source' 'map --hex' \
    'map --hex --json' verify 'verify --json --config b' 'diff b' 'diff --json b' 'build --force -o other' \
    "extract --templates $PWD/camera/template --config long"; do
    cases=$((cases + 1))
    same "passwords of $command after $how" 0 "$(shows "$command damaged")"
    [[ $telling == *" ${command%% *} "* || $(shows "$command damaged --secrets") == 0 ]] || telling+=" ${command%% *} "
  done
done
same 'passwords' 96 "$cases"
same 'commands that tell passwords' ' list  get  map  verify  diff  extract  build ' "$telling"

# --- beside the daemon: the same image, the same configuration ---

camera sandbox >/dev/null 2>&1 || { echo 'no sandbox on this host' && exit $((faults > 0)); }
camera new
eeprom=$work/camera/eeprom conf=$work/camera/etc/device.conf
start_and_stop() { camera start && camera stop; }
start_and_stop
time=$((16#$(od -A n -t x1 -j 41 -N 4 "$eeprom" | tr -d ' ')))
nvdump build -o "$work/built" --time $time camera/device.conf
same 'a fill' '' "$(cmp "$work/built" "$eeprom" 2>&1)"
# Another product, without users, profiles and network storage of its own.
sed -e 's/NVC-2400/OTHER-1/' -e 's/1920x1080@30/1280x720@10/' \
  -e '/<U1 /,/<\/U1>/d' -e '/<I2 /,/<\/I2>/d' -e 's/>ns</>none</' camera/device.conf >"$work/base"
cp "$work/base" "$conf"
cp "$work/base" "$work/camera/factory/device.conf"
start_and_stop
same 'another product' '0009: id id: NVC-2400 here, OTHER-1 in the configuration: the next start resets it' \
  "$(nvdump verify --config - "$work/built" <"$work/base" | head -n 1 || true)"
nvdump extract --config "$work/base" --templates camera/template -o "$work/extracted" "$work/built"
same 'a restore' '' "$(cmp "$work/extracted" "$conf" 2>&1)"

same 'working copies that are left' '' "$(compgen -G "$work/nvdump.*" || true)"
((faults == 0)) || exit 1
