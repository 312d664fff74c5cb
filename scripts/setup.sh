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
  if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
    printf 'There is no sudo here. Run this as root, then try again:\n  apt-get update && apt-get install %s\n' "${missing[*]}" >&2
    exit 1
  fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o Acquire::Retries=3 update
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Acquire::Retries=3 \
    install --no-install-recommends "${missing[@]}"
}

# Configures and builds a preset. What configuring says is shown only if it fails.
build_preset() {
  mkdir -p build
  cmake --preset "$1" >"build/$1.log" 2>&1 || { cat "build/$1.log"; exit 1; }
  cmake --build --preset "$1"
}

# Runs a preset's tests, one more at a time than there are processors, since many of them wait. Says of each that
# was skipped, in a line at the end, why.
run_tests() {
  local status=0
  ctest --preset "$1" -j "$(($(nproc) + 1))" "${@:2}" || status=$?
  # GoogleTest says it in the line after "FILE:LINE: Skipped", Python's unittest as "NAME ... skipped 'WHY'".
  awk '/^[0-9]+\/[0-9]+ Test: / { test = $3 }
       /^[^ ]+:[0-9]+: Skipped$/ { getline; print "Skipped: " test ": " $0 }
       match($0, / \.\.\. skipped ./) { print "Skipped: " $1 ": " substr($0, RSTART + RLENGTH, length($0) - RSTART - RLENGTH) }' \
    "build/$1/Testing/Temporary/LastTest.log"
  return "$status"
}

# What every build takes, and what the tests take beside it.
# shellcheck disable=SC2034 # The scripts that source this file use it.
build_packages=(g++ cmake ninja-build)
# shellcheck disable=SC2034
test_packages=(libgtest-dev python3 libplist-utils locales tzdata procps)
