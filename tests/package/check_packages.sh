#!/usr/bin/env bash
# Runs README's lines on using the library in a program on a bare Debian 12, which exists as long as this runs. Judges
# the packages that they make, and those of other architectures, by lintian, and installs all of them side by side.
#
# usage: check_packages.sh SOURCE_DIR   (run by scripts/test packages; network and root, or user namespaces, needed)
set -euo pipefail
top=$1 work=$1/build/package-check
mkdir -p "$work/clone" "$work/others"

fail() {
  echo "check_packages: $*" >&2
  exit 1
}

# What README says between "## Use it in a program" and the next heading for a shell.
awk '/^## / { here = $0 == "## Use it in a program" } here && /^```/ { code = $0 == "```sh"; next } here && code' \
  "$top/README.md" >"$work/lines.sh"
grep -q 'pkg-config' "$work/lines.sh" || fail "README has no lines on using the library"

"$top/scripts/package" i386 armhf >/dev/null
mv "$top"/build/package/*_{i386,armhf}.* "$work/others"
tar -C "$top" --exclude=./build --exclude=./.git -c . | tar -C "$work/clone" -x

cat >"$work/in_debian.sh" <<'END'
set -eux
cd /clone
sh -eux /lines.sh
quorv info samples/h264-mp3.avi
python3 -c 'import quorv; print([track.codec_name for track in quorv.open("samples/h264-mp3.avi").tracks])'
zcat /usr/share/man/man1/quorv.1.gz | grep -q 'SH BUGS'
dpkg --add-architecture i386
dpkg --add-architecture armhf
apt-get update
apt-get install -y --no-install-recommends ../others/*.deb
test "$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' 'libopencore-quorvlocalparser*' | grep -c ' installed')" = 6
END
# shellcheck disable=SC2016  # $1 is mmdebstrap's
in_debian='env -i PATH="$PATH" HOME=/root chroot "$1" sh /in_debian.sh'
# From the mirror that this machine uses, without later updates: mirrors may have them for one architecture only, and
# libraries of several architectures install side by side in one version only.
sources=/etc/apt/sources.list.d/debian.sources
mirror=$(sed -n 's/^URIs: //p;T;q' "$sources" 2>/dev/null) || mirror=
mmdebstrap --quiet --variant=apt --dpkgopt=force-unsafe-io --aptopt='Acquire::Languages "none"' \
  --customize-hook="copy-in $work/clone $work/others $work/lines.sh $work/in_debian.sh /" \
  --customize-hook="$in_debian" \
  --customize-hook="sync-out /clone/build/package $work" \
  bookworm /dev/null "deb ${mirror:-http://deb.debian.org/debian} bookworm main" >"$work/log" 2>&1 || { tail -n 60 "$work/log"; fail "README's lines (all output: $work/log)"; }

lintian --allow-root --fail-on error,warning "$work"/*.changes "$work"/others/*.changes
echo "$(find "$work" -name '*.deb' | wc -l) packages, made and used as README says"
