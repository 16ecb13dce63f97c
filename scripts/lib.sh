# Sourced by the scripts beside it: where the project is, installing Debian packages, quiet set-up steps.
# shellcheck shell=bash

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck disable=SC2034  # for the scripts that source this one
jobs=$(nproc)
# The version comes from where the build takes it from.
# shellcheck disable=SC2034
version=$(sed -n 's/^#define QUORV_VERSION_[A-Z]* //p' "$top/include/quorv/version.h" | paste -sd .)

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

die() {
  say "$*"
  exit 1
}

# quietly LOG COMMAND...: runs the command with all its output in LOG, shown only when it fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" </dev/null >"$log" 2>&1 && return
  tail -n 60 "$log" >&2
  say "failed: $* (whole output: $log)"
  return 1
}

# install_packages GROUP...: makes sure that the Debian packages of these groups are installed.
# QUORV_NO_INSTALL=1 leaves that to the caller.
install_packages() {
  [ -z "${QUORV_NO_INSTALL:-}" ] || return 0
  local wanted missing=() as_root=() name
  mapfile -t wanted < <(awk -v groups=" $* " '!/^#/ && NF == 2 && index(groups, " " $1 " ") { print $2 }' \
    "$top/scripts/packages.txt" | sort -u)
  command -v apt-get >/dev/null ||
    die "no apt-get here: install what Debian calls ${wanted[*]} and run again with QUORV_NO_INSTALL=1"
  for name in "${wanted[@]}"; do
    case $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) in
      installed*) ;;
      *) missing+=("$name") ;;
    esac
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || die "run once as root to install these packages: ${missing[*]}"
    as_root=(sudo)
  fi
  say "installing Debian packages: ${missing[*]}"
  local log architectures
  log=$(mktemp "${TMPDIR:-/tmp}/quorv-apt.XXXXXX")
  architectures=$(printf '%s\n' "${missing[@]}" | sed -n 's/.*://p')
  for name in $architectures; do
    quietly "$log" "${as_root[@]}" dpkg --add-architecture "$name" || exit 1
  done
  # A mirror may lack an index that is not needed here; whether something is missing shows in the next step.
  "${as_root[@]}" apt-get -o DPkg::Lock::Timeout=300 update </dev/null >"$log" 2>&1 || say "apt-get update: $(tail -n 1 "$log")"
  quietly "$log" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "${missing[@]}" || exit 1
  rm -f "$log"
}
