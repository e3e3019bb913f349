#!/bin/bash
# SPDX-License-Identifier: MIT
# nvdump's commands on files, and beside the daemon in the simulated camera.
set -euo pipefail
root=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../..

usage() { echo 'usage: commands_test.sh BUILD [update]   (update: rewrites the golden JSON and the reference page)'; }

# shellcheck source=tools/common.sh
. "$root/tools/common.sh"
answer_help "$@"
[[ -d ${1-} && ${2-update} == update && $# -le 2 ]] || wrong_usage 'a build folder is wanted'
build=$(realpath "$1")
cd "$root"
work=$(mktemp -d)
camera() { camera/camera --build "$build" --state "$work/camera" --timeout 60 "$@"; }
trap 'camera kill >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
faults=0

# same WHAT EXPECTED FOUND
same() {
  [[ $2 == "$3" ]] || { printf -- '--- %s: expected\n%s\n--- found\n%s\n' "$@" && faults=$((faults + 1)); }
}

nvdump() { "$build/nvdump" "$@" 2>"$work/said"; }
status() { "$@" >"$work/out" && echo 0 || echo $?; }

# damage OFFSET:HEX...: the factory image with other bytes
damage() {
  local word bytes
  cp "$work/image" "$work/damaged"
  for word; do
    bytes=$(fold -w 2 <<<"${word#*:}" | sed 's/^/\\x/' | tr -d '\n')
    printf %b "$bytes" | dd of="$work/damaged" bs=1 seek="${word%:*}" conv=notrunc status=none
  done
}

nvdump build -o "$work/image" --time 1700000000 camera/device.conf

if [[ ${2-} == update ]]; then nvdump map --markdown >docs/parameters.md; fi
same 'reference page' "$(nvdump map --markdown)" "$(<docs/parameters.md)"

json() {
  local command
  cd "$work"
  damage 753:1f90 54:4d
  for command in 'info image' 'list image General.System.*' 'get --source image General.UserID.Admin' \
    'map --hex --section ssdt image' 'verify damaged' 'diff image damaged'; do
    # shellcheck disable=SC2086
    nvdump ${command%% *} --json ${command#* } || true
  done
}
(json) >"$work/json"
if [[ ${2-} == update ]]; then cp "$work/json" tests/golden/nvdump.json; fi
like_golden tests/golden/nvdump.json "$work/json" || faults=$((faults + 1))

# The image as its description has it: how many sections, the last one's address and name, the size.
read -r sections last last_name size < <(awk -F ' *[|] *' '
  $6 == "end" { print count, address, name, $2 }
  NF == 8 && $3 ~ /^[0-9A-F]+$/ { ++count; address = $2; name = $5 }' docs/eeprom-image.md)

# --- what verify finds: the bytes that are changed, and the lines ---

same 'factory image' "$sections sections, 0 findings" "$(nvdump verify "$work/image")"
while IFS='|' read -r bytes expected; do
  # shellcheck disable=SC2086
  damage $bytes
  same "verify $bytes" "$(tr '|' '\n' <<<"$expected")" "$(nvdump verify "$work/damaged" | sed '$d' || true)"
done <<EOF_DAMAGES
0:4d465400|0000: id header: the I/O board is in the factory's test set-up
4:02|0000: id header: no finished identification: the next start fills the EEPROM anew
39:ff|0000: id header: no finished identification: the next start fills the EEPROM anew
39:41|0009: id id: 1 bytes other than zero behind the text
9:c3|0009: id id: no UTF-8
45:0000004d|002d: ssdt header: unknown type 77
45:00000003|002d: ssdt header: type 3 where 1 belongs
49:02|002d: ssdt header: version 2
50:00000246|002d: ssdt header: the chain ends at 002d: next address 0246 leads to type 3; $((sections - 2)) sections out of reach
4834:00001d69|12dd: stpf0 header: next address 1d69 where 1823 belongs|27f5: stpf3 header: type 9 where 8 belongs|27f5: stpf3 header: the chain ends at 27f5: next address 2ac8 leads to type 10; $((sections - 12)) sections out of reach
6179:ffffffffffffffffff|1823: stpf1 header: the chain ends at 1823: unknown type 4294967295; $((sections - 9)) sections out of reach
6184:0000ffff|1823: stpf1 header: the chain ends at 1823: next address ffff leads out of the image; $((sections - 10)) sections out of reach
6184:00000000|1823: stpf1 header: the chain ends at 1823: next address 0; $((sections - 10)) sections out of reach
6184:0000002d|1823: stpf1 header: the chain ends at 1823: next address 002d leads back; $((sections - 10)) sections out of reach
6184:00001830|1823: stpf1 header: the chain ends at 1823: next address 1830 leads to no section; $((sections - 10)) sections out of reach
$((last + 5)):00000100|$(printf %04x "$last"): $last_name header: next address 0100 behind the last section
54:4d|0036: ssdt ssdt_format: no rule knows the number 77
578:03|0242: sssc sssc_group_2: no rule knows the number 3
592:4141414141414141414141414141414141414141414141414141414141414141|0250: ssnt ssnt_addr: no terminator
592:c341|0250: ssnt ssnt_addr: no UTF-8
623:01|0250: ssnt ssnt_addr: 1 bytes other than zero behind the text
757:49|02f5: ssnt ssnt_pname_1: "Ipv6_addr" where "ipv6_addr" belongs
EOF_DAMAGES

# --- exit status, by command line ---

cp camera/device.conf "$work/conf"
: >"$work/blank"
while IFS='|' read -r expected arguments; do
  # shellcheck disable=SC2086
  same "status of $arguments" "$expected" "$(cd "$work" && status nvdump $arguments)"
done <<'EOF_STATUS'
0|--help
0|list --help
0|info blank
0|diff image conf
0|get --source image General.System.HTTPPort
0|verify --config conf image
0|dump -o copy image
0|dump -o copy --force image
0|build -o padded --size 32768 conf
0|list --device image General.*
1|diff image blank
1|get --source image General.System.HTTPPort no.such
1|list image no.such General.*
0|list image Event.Server.S1.*
1|verify blank
1|extract --config conf blank
2|
2|frobnicate
2|verify --config no/such blank
2|diff - -
2|info --strict image
2|diff image
2|info no/such
2|list --device nowhere
2|build -o copy conf
2|build -o /dev/full --force conf
2|build -o new --strict conf
2|build -o new blank
2|build -o no/such/folder conf
2|map --from x image
2|map --section ss image
EOF_STATUS
same 'options of the man page' "$(nvdump --help | grep -oE '^  --[a-z]+' | tr -d ' ' | sort)" \
  "$(sed -n '/^.Sh OPTIONS/,/^.El/p' packaging/nvdump.1 | sed -n 's/^.It//p' | grep -oE -- 'Fl -[a-z]+' | sed 's/Fl /-/' | sort)"
same 'copy' '' "$(cmp "$work/image" "$work/copy" 2>&1)"
same 'padded' '600 32768 0' "$(stat -c '%a %s' "$work/padded") $(tail -c +$((size + 1)) "$work/padded" | tr -d '\377' | wc -c)"
same 'a refused build' '' "$(ls "$work/new" 2>/dev/null || true)"
same 'a broken pipe' '' "$(nvdump list "$work/image" | true; cat "$work/said")"
same 'a control character' '\x1b' "$(damage 592:1b00 && nvdump get --source "$work/damaged" General.Network.eth0.IPAddress | cut -c 1-4)"

# --- passwords: as they are, in base64 and in hex; in a broken image, too ---

for command in list 'list --long --all' 'map --hex' 'map --hex --json' 'list --json --long' verify 'diff blank' \
  'info --json'; do
  for bytes in 0:53 248:ff 50:00000246 50:00002c3d 50:000001c1; do
    damage "$bytes"
    # shellcheck disable=SC2086
    (cd "$work" && nvdump $command damaged >out) || true
    same "secrets of $command" 0 \
      "$(grep -cE 's3cret-share|b3BlcmF0b3I6b3|73 ?33 ?63 ?72' "$work/out" || true)"
  done
done
same 'secrets' 3 "$(nvdump map --hex --secrets "$work/image" | grep -cE 's3cret-share|"installer"')"

# --- beside the daemon: the same image, the same configuration ---

camera sandbox >/dev/null 2>&1 || { echo 'no sandbox on this host' && exit $((faults > 0)); }
camera new
eeprom=$work/camera/eeprom conf=$work/camera/etc/device.conf
start_and_stop() { camera start && camera stop; }
start_and_stop
time=$((16#$(od -A n -t x1 -j 41 -N 4 "$eeprom" | tr -d ' ')))
nvdump build -o "$work/built" --time $time camera/device.conf
same 'a fill' '' "$(cmp "$work/built" "$eeprom" 2>&1)"
cp "$work/built" "$eeprom"
touch -d @1 "$eeprom"
start_and_stop
same 'the time of a file that nothing was written to' 1 "$(stat -c %Y "$eeprom")"
# Another product, without users, profiles and network storage of its own.
sed -e 's/NVC-2400/OTHER-1/' -e 's/1920x1080@30</1280x720@10</' \
  -e '/<U1 /,/<\/U1>/d' -e '/<I2 /,/<\/I2>/d' -e 's/>ns</>none</' camera/device.conf >"$work/base"
cp "$work/base" "$conf"
cp "$work/base" "$work/camera/factory/device.conf"
start_and_stop
same 'another product' '0009: id id: NVC-2400 here, OTHER-1 in the configuration: the next start resets it' \
  "$(nvdump verify --config - "$work/built" <"$work/base" | head -n 1 || true)"
nvdump extract --config "$work/base" --templates camera/template -o "$work/extracted" "$work/built"
same 'a restore' '' "$(cmp "$work/extracted" "$conf" 2>&1)"
! cmp -s "$work/base" "$conf" || same 'a restore' 'a change' 'none'

((faults == 0)) || exit 1
