#!/usr/bin/env bash
# Configures and builds one build folder with Ninja: build.sh FOLDER [cmake options...] [-- targets...]
# (every target when none is named).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
folder=$1
shift
options=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do
  options+=("$1")
  shift
done
targets=()
if [ $# -gt 0 ]; then
  shift
  targets=(--target "$@")
fi
# Relative paths in the cache key let separate checkouts share compiled objects.
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=true
cmake -S "$root" -B "$root/$folder" -G Ninja "${options[@]}" >/dev/null
cmake --build "$root/$folder" --parallel "$(nproc)" "${targets[@]}"
