#!/bin/sh
# Makes the Debian package, unpacks it without installing and runs the tool that came out.
#
# usage: check_deb.sh BUILD_DIR VERSION SAMPLE   (CPACK and WORK name the tool and a scratch folder)
set -eu
build=$1 version=$2 sample=$3

fail() {
  echo "check_deb: $*" >&2
  exit 1
}

rm -rf "$WORK"
mkdir -p "$WORK"
"$CPACK" -G DEB --config "$build/CPackConfig.cmake" -B "$WORK" >"$WORK/log" || fail "cpack failed: $(tail -n 5 "$WORK/log")"
set -- "$WORK"/*.deb
[ $# -eq 1 ] && [ -f "$1" ] || fail "not one package but: $*"
[ "$(dpkg-deb -f "$1" Version)" = "$version" ] || fail "not of version $version: $1"
dpkg-deb -f "$1" Depends | grep -q 'libc6 ' || fail "the package does not say that it needs libc6"

dpkg-deb -x "$1" "$WORK/root"
for file in bin/quorv include/quorv/splitter.h share/man/man1/quorv.1 share/bash-completion/completions/quorv \
  lib/libopencore_quorvlocalparser.so lib/pkgconfig/quorv.pc; do
  [ -e "$WORK/root/usr/$file" ] || fail "the package has no /usr/$file"
done
"$WORK/root/usr/bin/quorv" info "$sample" >/dev/null || fail "the tool of the package does not run"
echo "$(basename "$1") is complete"
