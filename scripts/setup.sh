# shellcheck shell=bash
# Sourced by the other scripts: the top folder of the project, and the packages of a Debian machine.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

# Installs those of the named Debian packages that are missing, as root or through sudo.
need_packages() {
  local missing=() package
  for package in "$@"; do
    if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
      missing+=("$package")
    fi
  done
  if [ "${#missing[@]}" -eq 0 ]; then
    return
  fi
  say "Installing ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
  fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o Acquire::Retries=3 update
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Acquire::Retries=3 \
    install --no-install-recommends "${missing[@]}"
}

# What every build takes.
# shellcheck disable=SC2034 # The scripts that source this file use it.
build_packages=(g++ cmake ninja-build)
