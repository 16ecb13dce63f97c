#!/bin/sh
# Makes real AVI files with known properties, each named after what makes it special. README.md lists them.
#
# usage: make-samples.sh FOLDER
#
# Needs gst-launch-1.0 with the base, good and ugly plugins. The MPEG-4 Part 2 files need the encoder of this
# folder: its path in MPEG4_ENCODER, else it is compiled here (libxvidcore-dev, libcli11-dev). A file that
# cannot be made because a program or plugin is missing is named, with the reason, in FOLDER/skipped.
# Exit status: 0 all made, 77 some or all skipped, anything else: a file could not be made.
set -eu

[ $# -eq 1 ] || { echo "usage: $0 FOLDER" >&2; exit 2; }
mkdir -p "$1"
out=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
rm -f "$out/skipped"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

skip() { # NAME REASON
    echo "$1: $2" >>"$out/skipped"
    echo "skipped $1: $2" >&2
}

# Prints the first of the given elements that is not installed.
missing_element() {
    command -v gst-launch-1.0 >/dev/null || { echo "gst-launch-1.0"; return; }
    for element in "$@"; do
        gst-inspect-1.0 --exists "$element" || { echo "the element $element"; return; }
    done
}

# pipeline NAME "ELEMENTS" PIPELINE...: makes NAME.avi with the pipeline, which puts its streams into `mux.`
pipeline() {
    name=$1 elements=$2
    shift 2
    # shellcheck disable=SC2086
    missing=$(missing_element avimux $elements)
    if [ -n "$missing" ]; then
        skip "$name" "$missing is not installed"
        return
    fi
    gst-launch-1.0 -q "$@" avimux name=mux ! filesink location="$work/$name.avi"
    mv "$work/$name.avi" "$out/"
}

# Pictures and sound: `video FRAMES WIDTHxHEIGHT RATE [FORMAT]` and `audio BUFFERS SAMPLES RATE CHANNELS FORMAT`
# print the head of a branch.
video() {
    echo "videotestsrc num-buffers=$1 pattern=ball ! video/x-raw,width=${2%x*},height=${2#*x},framerate=$3${4:+,format=$4} !"
}
audio() {
    echo "audiotestsrc num-buffers=$1 samplesperbuffer=$2 wave=ticks ! audio/x-raw,rate=$3,channels=$4,format=$5,layout=interleaved !"
}
# h264 PROFILE KEYDISTANCE BFRAMES: one thread and fixed key frames, so that every run makes the same file.
h264() {
    echo "x264enc threads=1 pass=quant quantizer=24 key-int-max=$2 bframes=$3 b-adapt=false option-string=scenecut=0 !" \
        "video/x-h264,profile=$1,stream-format=byte-stream,alignment=au ! mux."
}
mp3() { # BITRATE RATE
    echo "lamemp3enc target=bitrate bitrate=$1 cbr=true ! audio/mpeg,rate=$2 ! mux."
}

# shellcheck disable=SC2046
gstreamer_samples() {
    x="x264enc videotestsrc"
    l="lamemp3enc audiotestsrc"
    pipeline h264-mp3 "$x $l" $(video 75 320x240 25/1) $(h264 main 25 2) \
        $(audio 115 1152 44100 2 S16LE) $(mp3 128 44100)
    pipeline h264-baseline-video-only "$x" $(video 60 176x144 25/1) $(h264 baseline 12 0)
    pipeline h264-high-bframes-30000-1001 "$x $l" $(video 45 320x180 30000/1001) $(h264 high 15 3) \
        $(audio 71 1152 48000 2 S16LE) $(mp3 96 48000)
    pipeline h264-long-key-distance "$x" $(video 300 64x48 25/1) $(h264 main 120 2)
    pipeline h264-two-audio-tracks "$x $l" $(video 15 176x144 25/1) $(h264 baseline 6 0) \
        $(audio 23 1152 44100 2 S16LE) $(mp3 64 44100) $(audio 6 800 8000 1 S16LE) mux.
    pipeline h264-mp3-large "$x $l" videotestsrc num-buffers=24 pattern=snow ! \
        video/x-raw,width=320,height=240,framerate=25/1 ! $(h264 main 8 0) \
        $(audio 37 1152 44100 2 S16LE) $(mp3 192 44100)
    pipeline h264-two-index-blocks "$x" $(video 4500 16x16 50/1) $(h264 baseline 100 0)
    pipeline h264-mp3-vbr "$x $l" $(video 50 176x144 24/1) $(h264 main 25 1) \
        $(audio 77 1152 44100 1 S16LE) lamemp3enc target=quality quality=4 ! mux.
    pipeline mjpeg-pcm "jpegenc videotestsrc audiotestsrc" $(video 8 64x48 25/1) jpegenc ! mux. \
        $(audio 4 1280 16000 1 S16LE) mux.
    pipeline mjpeg-video-only-30000-1001 "jpegenc videotestsrc" $(video 31 64x48 30000/1001) jpegenc ! mux.
    pipeline raw-i420-pcm8 "videotestsrc audiotestsrc" $(video 8 48x32 15/1 I420) mux. \
        $(audio 5 800 8000 1 U8) mux.
    pipeline raw-yuy2 "videotestsrc" $(video 6 48x32 25/1 YUY2) mux.
    pipeline raw-bgr-odd-width "videotestsrc" $(video 12 35x21 25/1 BGR) mux.
    pipeline audio-only-mp3 "$l" $(audio 60 1152 44100 2 S16LE) $(mp3 128 44100)
    pipeline audio-only-pcm "audiotestsrc" $(audio 2 1500 44100 2 S16LE) mux.
    pipeline audio-only-pcm24-mono "audiotestsrc" $(audio 4 1100 16000 1 S24LE) mux.
    pipeline audio-only-pcm32-8-channels "audiotestsrc" audiotestsrc num-buffers=5 samplesperbuffer=100 ! \
        "audio/x-raw,rate=8000,channels=8,channel-mask=(bitmask)0,format=S32LE" ! mux.
    pipeline audio-only-alaw "alawenc audiotestsrc" $(audio 20 800 8000 1 S16LE) alawenc ! mux.
    pipeline audio-only-mp2 "twolamemp2enc audiotestsrc" $(audio 60 1152 48000 2 S16LE) twolamemp2enc ! mux.
}

# Compiles the encoder when none was given.
find_encoder() {
    [ -z "${MPEG4_ENCODER:-}" ] || return 0
    MPEG4_ENCODER=
    if ${CXX:-c++} -std=c++20 -O1 -o "$work/mpeg4_encoder" "$here/mpeg4_encoder.cpp" "$here/AviWriter.cpp" \
        -lxvidcore 2>"$work/log"; then
        MPEG4_ENCODER=$work/mpeg4_encoder
    fi
}

# mpeg4 NAME OPTIONS...: NAME.avi by the encoder's own AVI writer.
mpeg4() {
    name=$1
    shift
    if [ -z "$MPEG4_ENCODER" ]; then
        skip "$name" "the MPEG-4 encoder was not built: libxvidcore-dev or libcli11-dev is missing"
        return
    fi
    "$MPEG4_ENCODER" "$work/$name.avi" "$@" >"$out/$name.report"
    mv "$work/$name.avi" "$out/"
}

# remux NAME FROM: the frames of FROM.avi in an AVI file by avimux.
remux() {
    if [ -f "$out/$2.avi" ]; then
        pipeline "$1" avidemux filesrc location="$out/$2.avi" ! avidemux ! mux.
    else
        skip "$1" "it is made of $2"
    fi
}

mpeg4_samples() {
    find_encoder
    mpeg4 mpeg4-simple --frames 30 --key-interval 10 --profile 3
    mpeg4 mpeg4-bframes --frames 40 --key-interval 15 --b-frames 2
    mpeg4 mpeg4-packed-bframes --frames 40 --key-interval 15 --b-frames 1 --packed
    mpeg4 mpeg4-qpel-gmc-matrices --frames 30 --key-interval 15 --qpel --gmc --custom-matrices --fourcc DX50
    mpeg4 mpeg4-interlaced-30000-1001 --frames 32 --key-interval 16 --rate 30000 --scale 1001 --interlaced --par-width 16 \
        --par-height 11
    mpeg4 mpeg4-long-key-distance --frames 220 --key-interval 160 --width 96 --height 80 --quantiser 16
    remux mpeg4-bframes-remuxed mpeg4-bframes
}

gstreamer_samples
mpeg4_samples
[ ! -f "$out/skipped" ] || exit 77
