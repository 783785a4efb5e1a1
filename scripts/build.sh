#!/usr/bin/env bash
# Configures and builds one build folder with Ninja: build.sh FOLDER [cmake options...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
folder=$1
shift
# Relative paths in the cache key let separate checkouts share compiled objects.
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=true
cmake -S "$root" -B "$root/$folder" -G Ninja "$@" >/dev/null
cmake --build "$root/$folder" --parallel "$(nproc)"
