# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# What the scripts of this folder share. A script goes to the top folder, defines usage() and reads this
# file; the first thing it then does is to look at its words.

fail() {
  echo "${0##*/}: $1" >&2
  exit "${2-1}"
}

wrong_usage() { fail "$1 (see --help)" 2; }

# answer_help WORD...: prints the usage and ends, if it is asked for anywhere.
answer_help() {
  local word
  for word; do
    [[ $word != @(-h|--help) ]] || { usage && exit; }
  done
}

# no_words WORD...: for a script that takes none.
no_words() {
  answer_help "$@"
  (($# == 0)) || wrong_usage "unknown word '$1'"
}

# quietly COMMAND...: what it says is shown only if it fails.
quietly() {
  local output status=0
  output=$("$@" 2>&1) || status=$?
  ((status == 0)) || printf '%s\n' "$output" >&2
  return "$status"
}

# download COMMAND...: with patience, for a mirror may be in the middle of an update.
download() {
  local pause
  for pause in 10 60; do
    ! quietly "$@" || return 0
    echo "That download failed; once more in $pause s." >&2
    sleep "$pause"
  done
  quietly "$@" || { echo "The download has failed three times; the mirror or the network may be at fault: $*" >&2 && return 1; }
}

# compile FOLDER [ARGUMENT...]: builds what is configured there; a terminal gets Ninja's one line.
compile() {
  echo "Building $1 ..."
  if [[ -t 1 ]]; then cmake --build "$@"; else quietly cmake --build "$@"; fi
}

# build PRESET [ARGUMENT...]
build() {
  mkdir -p "build/$1"
  [[ -w build/$1 ]] || fail "'build/$1' is $(stat -c %U "build/$1")'s; remove it, or work as that user"
  quietly cmake --preset "$1"
  compile "build/$1" "${@:2}"
}

# like_golden GOLDEN FILE: a long difference is cut, so that its last line is seen.
like_golden() {
  diff -u "$1" "$2" >"$2.diff" && return
  head -n 40 "$2.diff" >&2
  echo "$1 differs in $(grep -c '^[-+][^-+]' "$2.diff") lines; if that is meant: tools/update-golden" >&2
  return 1
}
