#!/bin/sh
# Installs below an empty folder, then builds and runs a C program against what lies there, once with
# pkg-config and once with find_package, and runs the installed tool.
#
# usage: check_install.sh BUILD_DIR PREFIX VERSION SAMPLE   (CMAKE, CC and WORK name tools and a scratch folder)
set -eu
build=$1 prefix=$2 version=$3 sample=$4
here=$(cd "$(dirname "$0")" && pwd)

fail() {
  echo "check_install: $*" >&2
  exit 1
}

rm -rf "$WORK"
mkdir -p "$WORK"
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
# shellcheck disable=SC2046,SC2086
"$CC" $strict "$here/consumer/main.c" -o "$WORK/by_pkg_config" $(pkg-config --cflags --libs quorv)

"$CMAKE" -G Ninja -S "$here/consumer" -B "$WORK/by_find_package" -DCMAKE_PREFIX_PATH="$root" -DCMAKE_C_COMPILER="$CC" \
  -DCMAKE_C_FLAGS="$strict" -DQUORV_VERSION="$version" >/dev/null
"$CMAKE" --build "$WORK/by_find_package" >/dev/null

listed=$(LD_LIBRARY_PATH=$libdir "$WORK/by_pkg_config" "$sample")
echo "$listed"
[ "$listed" = "$(cat "$here/consumer/expected.txt")" ] || fail "the program built with pkg-config listed something else"
[ "$("$WORK/by_find_package/consumer" "$sample")" = "$listed" ] || fail "the program built with find_package differs"
"$root/bin/quorv" info "$sample" >/dev/null || fail "the installed tool does not run"
