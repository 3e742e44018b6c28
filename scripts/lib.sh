# shellcheck shell=bash
# Shared by the scripts of this folder: source it after `set -euo pipefail`.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit 1
jobs=${QV_JOBS:-$(nproc)}

say() { printf '== %s\n' "$*"; }
fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# Configures and builds a preset; further arguments go to the build.
build_preset() {
  local preset=$1
  shift
  say "configure $preset"
  cmake --preset "$preset"
  say "build $preset"
  cmake --build --preset "$preset" -j "$jobs" "$@"
}

# The C and C++ files of the project itself.
own_sources() { git ls-files -- '*.c' '*.cpp' '*.h' '*.inl'; }
