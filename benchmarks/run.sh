#!/usr/bin/env bash
# Builds the benchmarks, makes their inputs and prints all tables in Markdown. Takes half an hour, 4 GB of disk
# and 2 GB of memory.
#
# usage: benchmarks/run.sh > tables.md     TMPDIR says where the files are made
set -euo pipefail
# shellcheck source=../scripts/lib.sh
. "$(dirname "$(readlink -f "$0")")/../scripts/lib.sh"

build=$top/build/release
install_packages build test bench cross
quietly "$build/configure.log" env -C "$top" cmake --preset release
quietly "$build/build.log" cmake --build "$build" -j "$jobs" -- --quiet

work=$(mktemp -d "${TMPDIR:-/tmp}/quorv-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT

# avimux's own interleaving, with the sound well ahead of the picture. The pictures are noise, so that they become large.
# shellcheck disable=SC2086  # encoders are pieces of a pipeline
mux() { # NAME FRAMES WIDTHxHEIGHT VIDEO-ENCODER SOUND-ENCODER
  local width=${3%x*} height=${3#*x}
  gst-launch-1.0 -q avimux name=mux ! filesink location="$work/$1.avi" \
    videotestsrc pattern=snow num-buffers="$2" ! \
    video/x-raw,format=I420,width="$width",height="$height",framerate=25/1 ! $4 ! mux. \
    audiotestsrc samplesperbuffer=1152 num-buffers=$(($2 * 5 / 3)) ! \
    audio/x-raw,rate=48000,channels=2,format=S16LE,layout=interleaved ! $5 ! mux.
}
h264="x264enc speed-preset=ultrafast bitrate=2100 ! video/x-h264,stream-format=byte-stream"
mp3="lamemp3enc target=bitrate bitrate=128 cbr=true"
mux avimux-h264-mp3 14250 160x120 "$h264" "$mp3"
mux avimux-mjpeg-pcm 20000 320x240 jpegenc identity
mux avimux-raw-pcm 2150 640x480 identity identity
mux check-raw-28-kb 10000 160x120 identity identity
mux short-h264-mp3 500 160x120 "$h264" "$mp3"
mux short-mjpeg-pcm 500 320x240 jpegenc identity

run() { # TITLE PROGRAM ARGUMENTS...
  printf '\n## %s\n\n' "$1"
  "$build/benchmarks/quorv_$2_benchmark" "${@:3}"
}
printf 'Machine: %s, %s cores, Linux %s, %s\n' "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)" \
  "$(nproc)" "$(uname -r)" "$(c++ --version | head -n 1)"
run "Reading from memory against memcpy" read
run "Reading from disk, page cache warm" file "$work" "$work"/avimux-*.avi
printf '\n## Checking files\n\n'
"$top/benchmarks/check.py" "$build/tools/quorv/quorv" "$build/benchmarks/quorv_media_read_once" \
  "$work"/check-*.avi "$work"/avimux-{mjpeg,raw}*.avi
run "Stream callbacks" callback "$work"/short-*.avi
run "Index and seeking" avi_seek
run "Start code search" start_code
# Instructions for opening a file, and for reading all packets in the order of time.
printf '\n## The reader of any format over the splitters\n\n'
printf '| file | packets | splitter opens | reader opens | splitter reads | reader reads | reader / splitter |\n'
printf '| --- | ---: | ---: | ---: | ---: | ---: | ---: |\n'
count_instructions() { # open|read HOW FILE
  valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect="*$1_with_*" \
    "$build/benchmarks/quorv_media_read_once" "$2" "$3" 2>&1 >"$work/count" | awk '/Collected/ { print $NF }'
}
for file in "$top"/samples/h264-mp3.avi "$work"/short-*.avi; do
  printf '| %s |' "${file##*/}"
  for what in open read; do
    splitter=$(count_instructions $what avi "$file") reader=$(count_instructions $what reader "$file")
    if [[ $what == open ]]; then printf ' %d |' "$(<"$work/count")"; fi
    printf ' %d | %d |' "$splitter" "$reader"
  done
  awk -v splitter="$splitter" -v reader="$reader" 'BEGIN { printf " %.3f |\n", reader / splitter }'
done

run "Decoding MPEG audio" mp3_decode "$work"

streams="layer3-128 layer3-320 layer3-vbr mpeg2-64 layer2-192"
start_of() { # STREAM PARTS: one of so many parts of the ten minutes
  head -c $(($(stat -c %s "$work/$1") / $2)) "$work/$1" >"$work/start"
}

# Instructions for a sample of all channels, from the first twenty seconds of each stream.
printf '\n| stream | quorv | best | generic |\n| --- | ---: | ---: | ---: |\n'
for stream in $streams; do
  start_of "$stream" 30
  printf '| %s |' "$stream"
  for who in quorv best generic; do
    count=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='decode_with_*' \
      "$build/benchmarks/quorv_mp3_decode_once" "$who" "$work/start" 2>"$work/log")
    awk -v count="$count" '/Collected/ { printf " %.0f |", $NF / count }' "$work/log"
  done
  echo
done

# The same on 32-bit ARM, from the first minute, emulated; whole processes. libmpg123 is unpacked only, so that it
# does not replace the one of this machine.
arm=$top/build/arm triple=arm-linux-gnueabihf
quietly "$arm/configure.log" env -C "$top" cmake --preset arm
quietly "$arm/build.log" cmake --build "$arm" -j "$jobs" --target quorv -- --quiet
quietly "$work/log" env -C "$work" apt-get -o APT::Sandbox::User=root download {libmpg123-0,libmpg123-dev}:armhf
for package in "$work"/*.deb; do dpkg-deb -x "$package" "$work/arm"; done
$triple-g++ -std=c++20 -O2 -I "$work/arm/usr/include/$triple" -I "$top/include" -I "$top/benchmarks" \
  "$top/benchmarks/Mp3DecodeOnce.cpp" "$top/benchmarks/support/DecodeMp3.cpp" -o "$work/decode_once" \
  "$arm/src/libopencore_quorvlocalparser.so" "$work/arm/usr/lib/$triple/libmpg123.so.0"
count_on() { # PROCESSOR WHO
  local count
  count=$(qemu-arm -cpu "$1" -L "/usr/$triple" -E LD_LIBRARY_PATH="/usr/$triple/lib:$arm/src:$work/arm/usr/lib/$triple" \
    -plugin "$build/benchmarks/libquorv_count_instructions.so" -d plugin -D "$work/log" \
    "$work/decode_once" "$2" "$work/start")
  awk -v count="$count" '{ printf " %.0f |", $1 / count }' "$work/log"
}
printf '\n| stream | quorv, NEON | quorv, no NEON | libmpg123 |\n| --- | ---: | ---: | ---: |\n'
for stream in $streams; do
  start_of "$stream" 10
  printf '| %s |' "$stream"
  count_on cortex-a15 quorv
  count_on cortex-a15,neon=off quorv
  count_on cortex-a15 best
  echo
done
