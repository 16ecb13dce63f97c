#!/bin/sh
# Installs into an empty folder, compiles every header alone and builds the examples with pkg-config; then moves the
# folder elsewhere, builds the examples with find_package, and runs them and the tool.
#
# usage: check_install.sh BUILD_DIR VERSION SOURCE_DIR   (CMAKE, CC, CXX and WORK name tools and a scratch folder)
set -eu
build=$1 version=$2 include=$3/include examples=$3/examples sample=$3/samples/h264-mp3.avi
asf_sample=$3/fuzz/corpus/asf_splitter/bare

fail() {
  echo "check_install: $*" >&2
  exit 1
}

rm -rf "$WORK"
mkdir -p "$WORK/pkg_config"
root=$WORK/installed
"$CMAKE" --install "$build" --prefix "$root" >/dev/null
library=$(find "$root" -name "libopencore_quorvlocalparser.so.${version%%.*}")
[ -n "$library" ] || fail "the library is not installed"
libdir=${library%/*}
for file in bin/quorv share/man/man1/quorv.1 share/bash-completion/completions/quorv; do
  [ -e "$root/$file" ] || fail "there is no $file"
done

PKG_CONFIG_PATH=$libdir/pkgconfig
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion quorv)" = "$version" ] || fail "quorv.pc is not of version $version"
case $(pkg-config --cflags --libs quorv) in
  "-I$root/include -L$libdir -lopencore_quorvlocalparser"*) ;;
  *) fail "pkg-config prints $(pkg-config --cflags --libs quorv)" ;;
esac

# The warnings make sure that the headers are fit for strict programs.
strict="-Wall -Wextra -Wpedantic -Wshadow -Wundef -Werror"
for header in $(cd "$include" && find quorv -name '*.h'); do
  printf '#include <%s>\n#include <%s>\nextern int not_empty;\n' "$header" "$header" >"$WORK/alone.c"
  # shellcheck disable=SC2086
  "$CC" -std=c99 $strict -Wstrict-prototypes -fsyntax-only -I "$root/include" "$WORK/alone.c" || fail "$header as C99"
  # shellcheck disable=SC2086
  "$CXX" -std=c++17 $strict -Wold-style-cast -fsyntax-only -I "$root/include" -x c++ "$WORK/alone.c" ||
    fail "$header as C++17"
done
for example in "$examples"/*.c; do
  [ "$(wc -l <"$example")" -lt 100 ] || fail "$example has grown to 100 lines"
  # shellcheck disable=SC2046,SC2086
  "$CC" -std=c99 $strict "$example" -o "$WORK/pkg_config/$(basename "$example" .c)" $(pkg-config --cflags --libs quorv)
done
mv "$root" "$WORK/moved"
libdir=$WORK/moved${libdir#"$root"} root=$WORK/moved
"$CMAKE" -G Ninja -S "$examples" -B "$WORK/find_package" -DCMAKE_PREFIX_PATH="$root" \
  -DCMAKE_C_COMPILER="$CC" >/dev/null
"$CMAKE" --build "$WORK/find_package" >/dev/null

LD_LIBRARY_PATH=$libdir
export LD_LIBRARY_PATH
for way in pkg_config find_package; do
  cd "$WORK/$way"
  [ "$(./list_tracks "$sample")" = "1 264  3000 ms, 320x240
2 mp3  3030 ms, 44100 Hz, 2 channels" ] || fail "$way: list_tracks lists something else"
  [ "$(./list_tracks "$asf_sample")" = "2 m4vs 830 ms, 64x48
4 mp3  830 ms, 8000 Hz, 2 channels" ] || fail "$way: list_tracks does not list ASF"
  ./list_tracks "$0" 2>/dev/null && fail "$way: list_tracks takes a script for a media file"
  for track in 1 2; do
    ./extract_track "$sample" $track ours.$track
    env -u LD_LIBRARY_PATH "$root/bin/quorv" extract "$sample" --track $track -o tools.$track
    cmp ours.$track tools.$track || fail "$way: extract_track and the tool differ on track $track"
  done
  ./play "$sample" all.wav >played || fail "$way: play does not play"
  [ "$(grep -c key played)" -ge 2 ] || fail "$way: play finds no key frames"
  env -u LD_LIBRARY_PATH "$root/bin/quorv" decode "$sample" -o tools.wav
  cmp all.wav tools.wav || fail "$way: play and the tool decode to different samples"
  ./play "$sample" part.wav 1.5 | grep -q '1.000 s  track 0 .* key' || fail "$way: play does not seek to the key frame"
  ./play "$asf_sample" asf.wav >played || fail "$way: play does not play ASF"
  ./edit_ini settings.ini Video Width 640
  [ "$(./edit_ini settings.ini Video Width)" = 640 ] || fail "$way: edit_ini lost its edit"
  ./edit_ini settings.ini Video Width --remove
  ./edit_ini settings.ini Video Width 2>/dev/null && fail "$way: edit_ini found a removed key"
done
echo "the headers, the examples and the tool work from $root"
