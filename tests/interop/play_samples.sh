#!/bin/sh
# Plays every file of a folder with the example: from the start all packets come, those from the middle on are fewer, and
# sound of MPEG audio becomes samples.
#
# usage: play_samples.sh FOLDER PLAY...   the program, behind the emulator that it may need
set -eu
folder=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=77
for file in "$folder"/*.avi "$folder"/*.mp3 "$folder"/*.mp2; do
  [ -e "$file" ] || continue
  status=0
  "$@" "$file" "$work/all.wav" >"$work/all" || { echo "$file: not played"; exit 1; }
  packets=$(grep -c ' bytes' "$work/all") || { echo "$file: no packets"; exit 1; }
  if grep -q '^track.*: MP[23]' "$work/all"; then
    [ "$(wc -c <"$work/all.wav")" -gt 10000 ] || { echo "$file: no sound"; exit 1; }
  fi
  "$@" "$file" "$work/part.wav" 0.7 >"$work/part" || continue  # without an index
  [ "$(grep -c ' bytes' "$work/part")" -le "$packets" ] || { echo "$file: seeking gives more packets"; exit 1; }
done
exit $status
