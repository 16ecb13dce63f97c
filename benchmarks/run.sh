#!/usr/bin/env bash
# Builds the benchmarks, makes their inputs and prints all tables in Markdown. Takes a quarter of an hour, 1.1 GB of disk
# and 2 GB of memory.
#
# usage: benchmarks/run.sh > tables.md     TMPDIR says where the files are made
set -euo pipefail
. "$(dirname "$(readlink -f "$0")")/../scripts/lib.sh"

build=$top/build/release
install_packages build test bench
quietly "$build/configure.log" env -C "$top" cmake --preset release
quietly "$build/build.log" cmake --build "$build" -j "$jobs" -- --quiet

work=$(mktemp -d "${TMPDIR:-/tmp}/quorv-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT

# avimux's own interleaving, with the sound well ahead of the picture.
mux() { # NAME VIDEO-ENCODER SOUND-ENCODER
  gst-launch-1.0 -q avimux name=mux ! filesink location="$work/$1.avi" \
    videotestsrc num-buffers=500 ! video/x-raw,width=320,height=240,framerate=25/1 ! $2 ! mux. \
    audiotestsrc num-buffers=833 samplesperbuffer=1152 ! \
    audio/x-raw,rate=48000,channels=2,format=S16LE,layout=interleaved ! $3 ! mux.
}
mux avimux-mjpeg-pcm jpegenc identity
mux avimux-h264-mp3 "x264enc ! video/x-h264,stream-format=byte-stream" \
  "lamemp3enc target=bitrate bitrate=128 cbr=true"

run() { # TITLE PROGRAM ARGUMENTS...
  printf '\n## %s\n\n' "$1"
  "$build/benchmarks/quorv_$2_benchmark" "${@:3}"
}
printf 'Machine: %s, %s cores, Linux %s, %s\n' "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)" \
  "$(nproc)" "$(uname -r)" "$(c++ --version | head -n 1)"
run "Reading from memory against memcpy" read
run "Reading from disk, page cache warm" file "$work"
run "Stream callbacks" avi_callback "$work"/avimux-*.avi
run "Index and seeking" avi_seek
run "Start code search" start_code
run "Decoding MPEG audio" mp3_decode "$work"

# Instructions for a sample of all channels, from the first twenty seconds of each stream.
printf '\n| stream | quorv | best | generic |\n| --- | ---: | ---: | ---: |\n'
for stream in layer3-128 layer3-320 layer3-vbr mpeg2-64 layer2-192; do
  head -c $(($(stat -c %s "$work/$stream") / 30)) "$work/$stream" >"$work/start"
  printf '| %s |' "$stream"
  for who in quorv best generic; do
    count=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='decode_with_*' \
      "$build/benchmarks/quorv_mp3_decode_benchmark" --role "$who" "$work/start" 2>"$work/log")
    awk -v count="$count" '/Collected/ { printf " %.0f |", $NF / count }' "$work/log"
  done
  echo
done
