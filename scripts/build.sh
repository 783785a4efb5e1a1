#!/usr/bin/env bash
# Configures and builds one build folder with Ninja: build.sh FOLDER [cmake options...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
folder=$1
shift
cmake -S "$root" -B "$root/$folder" -G Ninja "$@" >/dev/null
cmake --build "$root/$folder" --parallel "$(nproc)"
