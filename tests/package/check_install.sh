#!/bin/sh
# Installs below an empty folder, then builds the examples against what lies there, once with pkg-config and
# once with find_package, and runs them and the installed tool.
#
# usage: check_install.sh BUILD_DIR PREFIX VERSION SOURCE_DIR   (CMAKE, CC and WORK name tools and a scratch folder)
set -eu
build=$1 prefix=$2 version=$3 source=$4
examples=$source/examples
sample=$source/samples/h264-mp3.avi
asf_sample=$source/fuzz/corpus/asf_splitter/bare

fail() {
  echo "check_install: $*" >&2
  exit 1
}

rm -rf "$WORK"
mkdir -p "$WORK/pkg_config"
DESTDIR=$WORK/stage "$CMAKE" --install "$build" >/dev/null
# Moved as a whole, so that nothing installed can rely on where it was meant to go.
mv "$WORK/stage$prefix" "$WORK/root"
root=$WORK/root

pc=$(find "$root" -name quorv.pc)
[ -f "$pc" ] || fail "no quorv.pc was installed"
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir quorv)
[ "$(pkg-config --modversion quorv)" = "$version" ] || fail "quorv.pc is not of version $version"

soname=libopencore_quorvlocalparser.so.${version%%.*}
[ "$(readlink "$libdir/libopencore_quorvlocalparser.so")" = "$soname" ] || fail "the linker name is not a link to $soname"
[ -f "$libdir/$soname" ] || fail "no $soname was installed"

# The warnings make sure that the headers are fit for strict C99 programs.
strict="-std=c99 -Wall -Wextra -Wpedantic -Werror"
for example in "$examples"/*.c; do
  [ "$(wc -l <"$example")" -lt 100 ] || fail "$example has grown to 100 lines"
  # shellcheck disable=SC2046,SC2086
  "$CC" $strict "$example" -o "$WORK/pkg_config/$(basename "$example" .c)" $(pkg-config --cflags --libs quorv)
done
"$CMAKE" -G Ninja -S "$examples" -B "$WORK/find_package" -DCMAKE_PREFIX_PATH="$root" -DCMAKE_C_COMPILER="$CC" \
  -DCMAKE_C_FLAGS="$strict" >/dev/null
"$CMAKE" --build "$WORK/find_package" >/dev/null

LD_LIBRARY_PATH=$libdir
export LD_LIBRARY_PATH
quorv=$root/bin/quorv
for way in pkg_config find_package; do
  cd "$WORK/$way"
  [ "$(./list_tracks "$sample")" = "1 264  3000 ms, 320x240
2 mp3  3030 ms, 44100 Hz, 2 channels" ] || fail "$way: list_tracks lists something else"
  [ "$(./list_tracks "$asf_sample")" = "2 m4vs 830 ms, 64x48
4 mp3  830 ms, 8000 Hz, 2 channels" ] || fail "$way: list_tracks does not list ASF"
  ./list_tracks "$0" 2>/dev/null && fail "$way: list_tracks takes a script for a media file"
  for track in 1 2; do
    ./extract_track "$sample" $track ours.$track
    "$quorv" extract "$sample" --track $track -o tools.$track
    cmp ours.$track tools.$track || fail "$way: extract_track and the tool differ on track $track"
  done
  ./edit_ini settings.ini Video Width 640
  [ "$(./edit_ini settings.ini Video Width)" = 640 ] || fail "$way: edit_ini lost its edit"
  ./edit_ini settings.ini Video Width --remove
  ./edit_ini settings.ini Video Width 2>/dev/null && fail "$way: edit_ini found a removed key"
done
echo "the examples and the tool work from $root"
